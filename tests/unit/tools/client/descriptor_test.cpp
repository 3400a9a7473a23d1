#include "client/descriptor.h"

#include <gtest/gtest.h>

namespace client {
namespace {

util::UniqueJSON json(const std::string& text) {
    return util::parseJSON(text.data(), text.size());
}

TEST(Descriptor, ReadsEveryAttributeOfAParameter) {
    const auto item =
        json(R"({"oid":"system.sshEnabled","name":"SSH Server","type":"INT32","readonly":true,)"
             R"("widget":"W","precision":2,"constraint":{"type":"INT_CHOICE","choices":)"
             R"([{"value":0,"name":"Disabled"},{"value":1,"name":"Enabled"}]},"value":1})");
    const auto parameter = decodeParameter(item.get());
    ASSERT_TRUE(parameter);
    const Descriptor& descriptor = parameter->descriptor;
    EXPECT_EQ(descriptor.name, "system.sshEnabled");
    EXPECT_EQ(descriptor.label, "SSH Server");
    EXPECT_EQ(descriptor.type, "INT32");
    EXPECT_TRUE(descriptor.readOnly);
    EXPECT_EQ(descriptor.widget, "W");
    EXPECT_EQ(descriptor.precision, 2);
    EXPECT_EQ(descriptor.constraint, "INT_CHOICE");
    ASSERT_EQ(descriptor.choices.size(), 2u);
    EXPECT_EQ(descriptor.choices[1].value, 1);
    EXPECT_EQ(descriptor.choices[1].name, "Enabled");
    EXPECT_EQ(util::renderJSON(parameter->value.get(), false), "1");
}

TEST(Descriptor, ReadsTheLimitsOfAValue) {
    const auto item = json(R"({"oid":"s.x","type":"STRING","maxlength":12,"totallength":40,)"
                           R"("constraint":{"type":"FLOAT_STEP_RANGE","min":-1.5,"max":7,)"
                           R"("step":0.5}})");
    const Descriptor descriptor = decodeParameter(item.get())->descriptor;
    EXPECT_EQ(descriptor.maxLength, 12);
    EXPECT_EQ(descriptor.totalLength, 40);
    EXPECT_EQ(descriptor.constraint, "FLOAT_STEP_RANGE");
    EXPECT_EQ(descriptor.minimum, -1.5);
    EXPECT_EQ(descriptor.maximum, 7);
    EXPECT_EQ(descriptor.step, 0.5);
}

TEST(Descriptor, PassesOverLimitsThatAreNoNumbers) {
    const auto item = json(R"({"oid":"s.x","constraint":{"type":3,"min":"0","max":null}})");
    const Descriptor descriptor = decodeParameter(item.get())->descriptor;
    EXPECT_EQ(descriptor.constraint, "");
    EXPECT_EQ(descriptor.minimum, std::nullopt);
    EXPECT_EQ(descriptor.maximum, std::nullopt);
}

TEST(Descriptor, TakesAbsentAttributesAsNotSaid) {
    const auto item = json(R"({"oid":"system.x"})");
    const auto parameter = decodeParameter(item.get());
    ASSERT_TRUE(parameter);
    EXPECT_EQ(parameter->descriptor.type, "");
    EXPECT_FALSE(parameter->descriptor.readOnly);
    EXPECT_EQ(parameter->descriptor.precision, -1);
    EXPECT_EQ(parameter->descriptor.constraint, "");
    EXPECT_TRUE(parameter->descriptor.choices.empty());
    EXPECT_EQ(parameter->descriptor.minimum, std::nullopt);
    EXPECT_EQ(parameter->descriptor.maximum, std::nullopt);
    EXPECT_EQ(parameter->descriptor.step, std::nullopt);
    EXPECT_EQ(parameter->descriptor.maxLength, -1);
    EXPECT_EQ(parameter->descriptor.totalLength, -1);
    EXPECT_EQ(parameter->value, nullptr);
}

TEST(Descriptor, WithoutIdentifierIsNone) {
    for (const char* text : {R"({"name":"x"})", R"({"oid":7})", "[]", "3", "null"}) {
        EXPECT_FALSE(decodeParameter(json(text).get())) << text;
    }
    EXPECT_FALSE(decodeParameter(nullptr));
}

TEST(Descriptor, SkipsChoicesThatLackNameOrNumber) {
    const auto item = json(R"({"oid":"a.b","constraint":{"type":"INT_CHOICE","choices":)"
                           R"([{"name":"A"},{"value":3},{"value":"x","name":"B"},7,)"
                           R"({"value":2,"name":"C"}]}})");
    const auto parameter = decodeParameter(item.get());
    ASSERT_EQ(parameter->descriptor.choices.size(), 1u);
    EXPECT_EQ(parameter->descriptor.choices[0].name, "C");
}

TEST(Descriptor, ReadsAllParametersOfADescriptorObjectInItsOrder) {
    const auto object = json(R"({"d_s.b":{"oid":"s.b","value":1},"d_s.x":17,)"
                             R"("d_s.a":{"oid":"s.a","value":2}})");
    const auto parameters = decodeParameters(object.get());
    ASSERT_EQ(parameters.size(), 2u);
    EXPECT_EQ(parameters[0].descriptor.name, "s.b");
    EXPECT_EQ(parameters[1].descriptor.name, "s.a");
    EXPECT_TRUE(decodeParameters(nullptr).empty());
}

TEST(Descriptor, ReadsTheMembersOfAStructureUnderTheirBareNames) {
    const auto object = json(R"({"_d_name":{"name":"Name","type":"STRING","value":"COM1"},)"
                             R"("d_no":{"value":1},"_d_":{"value":2}})");
    const auto members = decodeMembers(object.get());
    ASSERT_EQ(members.size(), 2u);
    EXPECT_EQ(members[0].descriptor.name, "name");
    EXPECT_EQ(members[0].descriptor.label, "Name");
    EXPECT_STREQ(util::jsonText(members[0].value.get()), "COM1");
    EXPECT_EQ(members[1].descriptor.name, "");
}

}  // namespace
}  // namespace client
