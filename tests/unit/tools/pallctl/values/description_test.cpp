#include "pallctl/values/description.h"

#include <gmock/gmock.h>

#include "tools/client/descriptors.h"

namespace pallctl {
namespace {

using namespace client;

client::Parameter service() {
    client::Parameter made = holding(switchDescriptor(), "1");
    made.descriptor.name = "system.sshEnabled";
    made.descriptor.label = "SSH Server";
    made.descriptor.constraint = "INT_CHOICE";
    return made;
}

client::Parameter everythingSaid() {
    client::Parameter made = holding(ofPrecision(1), "null");
    made.descriptor.name = "system.level";
    made.descriptor.label = "Level's";
    made.descriptor.readOnly = true;
    made.descriptor.constraint = "FLOAT_STEP_RANGE";
    made.descriptor.minimum = -1.5;
    made.descriptor.maximum = 7;
    made.descriptor.step = 0.5;
    made.descriptor.maxLength = 4;
    made.descriptor.totalLength = 8;
    made.descriptor.widget = "W\x1b";
    return made;
}

TEST(Description, IsAParagraphOfWhatIsSaid) {
    const client::Parameter first = service();
    const client::Parameter second = everythingSaid();
    EXPECT_EQ(describeParameters({&first, &second}, {}),
              "system.sshEnabled\n"
              "  label           SSH Server\n"
              "  value           Enabled\n"
              "  type            INT32\n"
              "  read-only       no\n"
              "  constraint      INT_CHOICE\n"
              "  choices         0 Disabled, 1 Enabled\n"
              "system.level\n"
              "  label           Level's\n"
              "  type            FLOAT\n"
              "  read-only       yes\n"
              "  constraint      FLOAT_STEP_RANGE\n"
              "  minimum         -1.5\n"
              "  maximum         7.0\n"
              "  step            0.5\n"
              "  maximum length  4\n"
              "  total length    8\n"
              "  decimals        1\n"
              "  widget          W\\x1b\n");
}

client::Parameter battery(const std::string& name) {
    client::Parameter made = holding(ofPrecision(1), "3.1");
    made.descriptor.name = name;
    return made;
}

TEST(Description, HasTheLimitsOfTheCatalogueForADaemonsReading) {
    const client::Parameter one = battery("frameB.system.battVoltage");
    EXPECT_THAT(describeParameters({&one}, {}), testing::EndsWith("\n"
                                                                  "  usual minimum   2.5\n"
                                                                  "  usual maximum   3.4\n"
                                                                  "  critical below  2.0\n"));
    EXPECT_THAT(describeParameters({&one}, {Format::json, false, false}),
                testing::EndsWith(R"("usualMinimum":2.5,"usualMaximum":3.4,"criticalBelow":2,)"
                                  R"("criticalAbove":null}})"
                                  "\n"));
    for (const char* other : {"player.battVoltage", "mysystem.battVoltage", "battVoltage"}) {
        const client::Parameter foreign = battery(other);
        EXPECT_THAT(describeParameters({&foreign}, {}), testing::Not(testing::HasSubstr("usual")))
            << other;
    }
}

TEST(Description, HasItsNamesBoldInColour) {
    const client::Parameter one = service();
    EXPECT_EQ(
        describeParameters({&one}, {Format::table, false, true}).find("\x1b[1msystem.sshEnabled"),
        0u);
}

TEST(Description, IsAnObjectThatAlwaysHasTheSameMembers) {
    const client::Parameter first = service();
    const client::Parameter second = everythingSaid();
    const Style style{Format::json, false, false};
    EXPECT_EQ(describeParameters({&first}, style),
              R"({"system.sshEnabled":{"name":"system.sshEnabled","label":"SSH Server",)"
              R"("type":"INT32","readOnly":false,"value":1,"text":"Enabled",)"
              R"("constraint":"INT_CHOICE","choices":[{"value":0,"name":"Disabled"},)"
              R"({"value":1,"name":"Enabled"}],"minimum":null,"maximum":null,"step":null,)"
              R"("maximumLength":null,"totalLength":null,"decimals":null,"widget":null,)"
              R"("usualMinimum":null,"usualMaximum":null,"criticalBelow":null,)"
              R"("criticalAbove":null}})"
              "\n");
    EXPECT_EQ(describeParameters({&second}, style),
              R"({"system.level":{"name":"system.level","label":"Level's","type":"FLOAT",)"
              R"("readOnly":true,"value":null,"text":null,"constraint":"FLOAT_STEP_RANGE",)"
              R"("choices":[],"minimum":-1.5,"maximum":7,"step":0.5,"maximumLength":4,)"
              R"("totalLength":8,"decimals":1,"widget":"W\u001b","usualMinimum":null,)"
              R"("usualMaximum":null,"criticalBelow":null,"criticalAbove":null}})"
              "\n");
}

TEST(Description, IsTheDevicesOwnWhenRaw) {
    for (const char* descriptor :
         {R"({"oid":"system.a","name":"A","type":"INT32","readonly":true,)"
          R"("constraint":{"type":"INT_CHOICE","choices":[{"value":0,"name":"Off"}]},"value":0})",
          R"({"oid":"system.b","name":"B","type":"FLOAT","readonly":false,"widget":"W",)"
          R"("precision":2,"constraint":{"type":"FLOAT_STEP_RANGE","min":-1,"max":7,"step":0.5},)"
          R"("maxlength":4,"totallength":8,"value":1.5})",
          R"({"oid":"system.c","name":"","type":"STRING","readonly":false})"}) {
        const auto parameter = client::decodeParameter(json(descriptor).get());
        ASSERT_TRUE(parameter) << descriptor;
        EXPECT_EQ(describeParameters({&*parameter}, {Format::json, true, false}),
                  "{\"" + parameter->descriptor.name + "\":" + descriptor + "}\n");
    }
}

TEST(Description, IsAVariableForEachThing) {
    const client::Parameter second = everythingSaid();
    EXPECT_EQ(describeParameters({&second}, {Format::keyvalue, false, false}),
              "system_level=''\n"
              "system_level_label='Level'\\''s'\n"
              "system_level_type='FLOAT'\n"
              "system_level_read_only='yes'\n"
              "system_level_constraint='FLOAT_STEP_RANGE'\n"
              "system_level_choices=''\n"
              "system_level_minimum='-1.5'\n"
              "system_level_maximum='7.0'\n"
              "system_level_step='0.5'\n"
              "system_level_maximum_length='4'\n"
              "system_level_total_length='8'\n"
              "system_level_decimals='1'\n"
              "system_level_widget='W\x1b'\n"
              "system_level_usual_minimum=''\n"
              "system_level_usual_maximum=''\n"
              "system_level_critical_below=''\n"
              "system_level_critical_above=''\n");
}

}  // namespace
}  // namespace pallctl
