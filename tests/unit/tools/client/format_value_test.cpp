#include "client/format_value.h"

#include <gtest/gtest.h>

#include "tools/client/descriptors.h"

namespace client {
namespace {

std::string human(const Descriptor& descriptor, const std::string& value) {
    return formatValue(descriptor, json(value).get());
}

TEST(FormatValue, ShowsAddressesDotted) {
    EXPECT_EQ(human(address(), "167837955"), "10.1.1.3");
    EXPECT_EQ(human(address(), "3232235777"), "192.168.1.1");
    EXPECT_EQ(human(address(), "0"), "0.0.0.0");
    EXPECT_EQ(human(address(), "4294967295"), "255.255.255.255");
}

TEST(FormatValue, ShowsAnAddressOutOfRangeAsItCame) {
    EXPECT_EQ(human(address(), "-1"), "-1");
    EXPECT_EQ(human(address(), "4294967296"), "4294967296");
    EXPECT_EQ(human(address(), "1.5"), "1.5");
}

TEST(FormatValue, ShowsChoicesByName) {
    EXPECT_EQ(human(switchDescriptor(), "0"), "Disabled");
    EXPECT_EQ(human(switchDescriptor(), "1"), "Enabled");
    EXPECT_EQ(human(switchDescriptor(), "2"), "2");
    EXPECT_EQ(human(switchDescriptor(), "0.5"), "0.5");
}

TEST(FormatValue, ShowsAChoiceOfAFloatByName) {
    Descriptor descriptor = switchDescriptor();
    descriptor.type = "FLOAT";
    EXPECT_EQ(human(descriptor, "1"), "Enabled");
    EXPECT_EQ(human(descriptor, "0.5"), "0.5");
}

TEST(FormatValue, ShowsFloatsWithTheirPrecision) {
    EXPECT_EQ(human(ofPrecision(2), "11.987"), "11.99");
    EXPECT_EQ(human(ofPrecision(5), "-1"), "-1.00000");
    EXPECT_EQ(human(ofPrecision(0), "2.6"), "3");
    EXPECT_EQ(human(ofPrecision(-1), "0.1"), "0.1");
}

TEST(FormatValue, SurvivesAbsurdFloats) {
    EXPECT_EQ(human(ofPrecision(2147483647), "0.5"), "0.50000000000000000");
    EXPECT_EQ(human(ofPrecision(17), "-1.7e308").size(), 1u + 309u + 1u + 17u);
    EXPECT_EQ(human(ofType("INT32"), "1e300").size(), 301u);
}

TEST(FormatValue, ShowsIntegersWhole) {
    EXPECT_EQ(human(ofType("INT32"), "-7"), "-7");
    EXPECT_EQ(human(ofType("INT16"), "4294967295"), "4294967295");
}

TEST(FormatValue, ShowsNoValueAsADash) {
    EXPECT_EQ(human(ofType("INT32"), "null"), "-");
    EXPECT_EQ(formatValue(ofType("INT32"), nullptr), "-");
}

TEST(FormatValue, ShowsTextAsItIs) {
    EXPECT_EQ(human(ofType("STRING"), R"("Rack 4 \"left\"")"), "Rack 4 \"left\"");
    EXPECT_EQ(human(ofType("STRING"), R"("")"), "");
    EXPECT_EQ(human(ofType("STRING"), R"("Zürich")"), "Zürich");
}

TEST(FormatValue, LetsNoTextBreakALineOrCommandATerminal) {
    EXPECT_EQ(human(ofType("STRING"), R"("a\nb\tc\u001b[2Jd\u007f\u009b")"),
              "a\\nb\\tc\\x1b[2Jd\\x7f\\xc2\\x9b");
    Descriptor descriptor = switchDescriptor();
    descriptor.choices[1].name = "On\r";
    EXPECT_EQ(human(descriptor, "1"), "On\\x0d");
}

TEST(FormatValue, ShowsStructuresMemberByMember) {
    EXPECT_EQ(
        human(ofType("STRUCT"), R"({"_d_name":{"name":"Name","type":"STRING","value":"COM1"},)"
                                R"("_d_level":{"type":"FLOAT","precision":1,"value":2.26},)"
                                R"("_d_connectionPoint":{"type":"STRING","value":""}})"),
        "name=COM1, level=2.3, connectionPoint=");
}

TEST(FormatValue, ShowsWhatHasNoFormOfItsOwnAsJSON) {
    EXPECT_EQ(human(ofType("INT32_ARRAY"), "[1,2]"), "[1,2]");
    EXPECT_EQ(human(ofType(""), R"({"primary":{"active":true}})"),
              R"({"primary":{"active":true}})");
    EXPECT_EQ(human(ofType("INT32"), "true"), "true");
}

TEST(FormatValue, ShowsNoIntegerAsMinusZero) {
    EXPECT_EQ(human(ofType("INT32"), "-0"), "0");
}

TEST(RoundAsShown, KeepsTheDecimalsOfAFloat) {
    Descriptor volts = ofType("FLOAT");
    EXPECT_EQ(roundAsShown(volts, 11.396), 11.396) << "without a precision";
    volts.precision = 2;
    EXPECT_EQ(roundAsShown(volts, 11.396), 11.4);
    EXPECT_EQ(roundAsShown(volts, 11.394), 11.39);
    EXPECT_EQ(roundAsShown(ofType("INT32"), 7), 7);
}

TEST(ChoiceNames, AreListedInTheirOrder) {
    EXPECT_EQ(choiceNames(switchDescriptor()), "Disabled, Enabled");
    EXPECT_EQ(choiceNames(ofType("INT32")), "");
}

}  // namespace
}  // namespace client
