#include "pallctl/values/output.h"

#include <gtest/gtest.h>

#include "util/json.h"

namespace pallctl {
namespace {

constexpr Style kPeople;
constexpr Style kWire{Format::table, true, false};
constexpr Style kJSON{Format::json, false, false};
constexpr Style kKeyValue{Format::keyvalue, false, false};

client::Parameter parameter(const std::string& name, const std::string& type,
                            const std::string& value, bool readOnly = false) {
    client::Parameter made;
    made.descriptor.name = name;
    made.descriptor.type = type;
    made.descriptor.readOnly = readOnly;
    made.value = util::parseJSON(value.data(), value.size());
    return made;
}

client::Parameter address() {
    client::Parameter made = parameter("system.ipAddress", "INT32", "167772165");
    made.descriptor.label = "IP Address";
    made.descriptor.widget = "WIDGET_IP_ADDRESS";
    return made;
}

client::Parameter unknown() {
    return parameter("system.gateway", "INT32", "null", true);
}

client::Parameter hostile() {
    return parameter("system.frameName", "STRING", R"j("it's \u001b[2J\n$(reboot)")j");
}

TEST(ShownValue, IsHumanOrWireFormOnOneLine) {
    EXPECT_EQ(formatOneLine(address(), kPeople), "10.0.0.5");
    EXPECT_EQ(formatOneLine(address(), kWire), "167772165");
    EXPECT_EQ(formatOneLine(hostile(), kPeople), "it's \\x1b[2J\\n$(reboot)");
    EXPECT_EQ(formatOneLine(hostile(), kWire), R"j("it's \u001b[2J\n$(reboot)")j");
}

TEST(ShownValue, IsADashForNone) {
    EXPECT_EQ(formatOneLine(unknown(), kPeople), "-");
    EXPECT_EQ(formatOneLine(unknown(), kWire), "-");
}

TEST(FormatJSON, HoldsBothFormsOfTheValue) {
    EXPECT_EQ(jsonLine(toJSON(address()).get()),
              R"({"name":"system.ipAddress","label":"IP Address","type":"INT32",)"
              R"("readOnly":false,"value":167772165,"text":"10.0.0.5"})");
}

TEST(FormatJSON, HoldsNullForNoValue) {
    EXPECT_EQ(jsonLine(toJSON(unknown()).get()),
              R"({"name":"system.gateway","label":"","type":"INT32",)"
              R"("readOnly":true,"value":null,"text":null})");
}

TEST(FormatJSON, HoldsTextsExactly) {
    EXPECT_EQ(jsonLine(toJSON(hostile()).get()),
              R"({"name":"system.frameName","label":"","type":"STRING","readOnly":false,)"
              R"j("value":"it's \u001b[2J\n$(reboot)","text":"it's \u001b[2J\n$(reboot)"})j");
}

TEST(JSONLine, IsJSONWhateverBytesTheDeviceSends) {
    const util::UniqueJSON item = util::jsonString("a\xff\"b");
    EXPECT_EQ(jsonLine(item.get()), "\"a\xef\xbf\xbd\\\"b\"");
}

TEST(FormatKeyValue, CanBeEvaluated) {
    EXPECT_EQ(formatAssignment(address(), kKeyValue), "system_ipAddress='10.0.0.5'");
    EXPECT_EQ(formatAssignment(address(), {Format::keyvalue, true, false}),
              "system_ipAddress='167772165'");
    EXPECT_EQ(formatAssignment(hostile(), kKeyValue),
              "system_frameName='it'\\''s \x1b[2J\n$(reboot)'");
    EXPECT_EQ(formatAssignment(unknown(), kKeyValue), "system_gateway=''");
}

TEST(Listing, IsATableForPeople) {
    const client::Parameter first = address();
    const client::Parameter second = unknown();
    EXPECT_EQ(formatParameters({&first, &second}, kPeople),
              "NAME              VALUE     TYPE   READ-ONLY\n"
              "system.ipAddress  10.0.0.5  INT32  no\n"
              "system.gateway    -         INT32  yes\n");
}

TEST(Listing, IsPaintedOnlyWithColours) {
    const client::Parameter first = address();
    const client::Parameter second = unknown();
    EXPECT_EQ(formatParameters({&first, &second}, {Format::table, false, true}),
              "\x1b[1mNAME\x1b[0m              \x1b[1mVALUE\x1b[0m     \x1b[1mTYPE\x1b[0m   "
              "\x1b[1mREAD-ONLY\x1b[0m\n"
              "system.ipAddress  \x1b[1m10.0.0.5\x1b[0m  INT32  no\n"
              "system.gateway    \x1b[2m-\x1b[0m         INT32  yes\n");
}

TEST(Listing, IsOneObjectWithAMemberPerName) {
    const client::Parameter first = address();
    const client::Parameter second = unknown();
    EXPECT_EQ(formatParameters({&first, &second}, kJSON),
              "{\"system.ipAddress\":" + jsonLine(toJSON(first).get()) +
                  ",\"system.gateway\":" + jsonLine(toJSON(second).get()) + "}\n");
    EXPECT_EQ(formatParameters({}, kJSON), "{}\n");
}

TEST(Listing, NamesInAnObjectComeOnce) {
    const client::Parameter twice = address();
    EXPECT_EQ(formatParameters({&twice, &twice}, kJSON), formatParameters({&twice}, kJSON));
}

TEST(NamedValues, AreATableOfTwoColumns) {
    const client::Parameter first = address();
    const client::Parameter second = unknown();
    EXPECT_EQ(formatNameValueLines({&first, &second}, kPeople),
              "NAME              VALUE\n"
              "system.ipAddress  10.0.0.5\n"
              "system.gateway    -\n");
}

TEST(Listing, IsALinePerNameForShells) {
    const client::Parameter first = address();
    const client::Parameter second = unknown();
    EXPECT_EQ(formatParameters({&first, &second}, kKeyValue),
              "system_ipAddress='10.0.0.5'\nsystem_gateway=''\n");
    EXPECT_EQ(formatParameters({}, kKeyValue), "");
}

}  // namespace
}  // namespace pallctl
