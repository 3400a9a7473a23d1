#include "client/human_form.h"

#include <random>

#include <gtest/gtest.h>

namespace pallctl {
namespace {

UniqueJSON json(const std::string& text) {
    return parseJSON(text.data(), text.size());
}

Descriptor ofType(const std::string& type) {
    Descriptor descriptor;
    descriptor.type = type;
    return descriptor;
}

Descriptor address() {
    Descriptor descriptor = ofType("INT32");
    descriptor.widget = "WIDGET_IP_ADDRESS";
    return descriptor;
}

Descriptor ofPrecision(int precision) {
    Descriptor descriptor = ofType("FLOAT");
    descriptor.precision = precision;
    return descriptor;
}

Descriptor switchDescriptor() {
    Descriptor descriptor = ofType("INT32");
    descriptor.choices = {{0, "Disabled"}, {1, "Enabled"}};
    return descriptor;
}

std::string human(const Descriptor& descriptor, const std::string& value) {
    return humanForm(descriptor, json(value).get());
}

std::string wire(const Descriptor& descriptor, const std::string& text) {
    const WireForm form = wireForm(descriptor, text);
    return form.value ? renderJSON(form.value.get(), false) : form.problem;
}

TEST(HumanForm, ShowsAddressesDotted) {
    EXPECT_EQ(human(address(), "167837955"), "10.1.1.3");
    EXPECT_EQ(human(address(), "3232235777"), "192.168.1.1");
    EXPECT_EQ(human(address(), "0"), "0.0.0.0");
    EXPECT_EQ(human(address(), "4294967295"), "255.255.255.255");
}

TEST(HumanForm, ShowsAnAddressOutOfRangeAsItCame) {
    EXPECT_EQ(human(address(), "-1"), "-1");
    EXPECT_EQ(human(address(), "4294967296"), "4294967296");
    EXPECT_EQ(human(address(), "1.5"), "1.5");
}

TEST(HumanForm, ShowsChoicesByName) {
    EXPECT_EQ(human(switchDescriptor(), "0"), "Disabled");
    EXPECT_EQ(human(switchDescriptor(), "1"), "Enabled");
    EXPECT_EQ(human(switchDescriptor(), "2"), "2");
    EXPECT_EQ(human(switchDescriptor(), "0.5"), "0.5");
}

TEST(HumanForm, ShowsFloatsWithTheirPrecision) {
    EXPECT_EQ(human(ofPrecision(2), "11.987"), "11.99");
    EXPECT_EQ(human(ofPrecision(5), "-1"), "-1.00000");
    EXPECT_EQ(human(ofPrecision(0), "2.6"), "3");
    EXPECT_EQ(human(ofPrecision(-1), "0.1"), "0.1");
}

TEST(HumanForm, SurvivesAbsurdFloats) {
    EXPECT_EQ(human(ofPrecision(2147483647), "0.5"), "0.50000000000000000");
    EXPECT_EQ(human(ofPrecision(17), "-1.7e308").size(), 1u + 309u + 1u + 17u);
    EXPECT_EQ(human(ofType("INT32"), "1e300").size(), 301u);
}

TEST(HumanForm, ShowsIntegersWhole) {
    EXPECT_EQ(human(ofType("INT32"), "-7"), "-7");
    EXPECT_EQ(human(ofType("INT16"), "4294967295"), "4294967295");
}

TEST(HumanForm, ShowsNoValueAsADash) {
    EXPECT_EQ(human(ofType("INT32"), "null"), "-");
    EXPECT_EQ(humanForm(ofType("INT32"), nullptr), "-");
}

TEST(HumanForm, ShowsTextAsItIs) {
    EXPECT_EQ(human(ofType("STRING"), R"("Rack 4 \"left\"")"), "Rack 4 \"left\"");
    EXPECT_EQ(human(ofType("STRING"), R"("")"), "");
    EXPECT_EQ(human(ofType("STRING"), R"("Zürich")"), "Zürich");
}

TEST(HumanForm, LetsNoTextBreakALineOrCommandATerminal) {
    EXPECT_EQ(human(ofType("STRING"), R"("a\nb\tc\u001b[2Jd\u007f\u009b")"),
              "a\\nb\\tc\\x1b[2Jd\\x7f\\xc2\\x9b");
    Descriptor descriptor = switchDescriptor();
    descriptor.choices[1].name = "On\r";
    EXPECT_EQ(human(descriptor, "1"), "On\\x0d");
}

TEST(HumanForm, ShowsStructuresMemberByMember) {
    EXPECT_EQ(
        human(ofType("STRUCT"), R"({"_d_name":{"name":"Name","type":"STRING","value":"COM1"},)"
                                R"("_d_level":{"type":"FLOAT","precision":1,"value":2.26},)"
                                R"("_d_connectionPoint":{"type":"STRING","value":""}})"),
        "name=COM1, level=2.3, connectionPoint=");
}

TEST(HumanForm, ShowsWhatHasNoFormOfItsOwnAsJSON) {
    EXPECT_EQ(human(ofType("INT32_ARRAY"), "[1,2]"), "[1,2]");
    EXPECT_EQ(human(ofType(""), R"({"primary":{"active":true}})"),
              R"({"primary":{"active":true}})");
    EXPECT_EQ(human(ofType("INT32"), "true"), "true");
}

TEST(WireForm, TakesAddressesDottedOrAsANumber) {
    EXPECT_EQ(wire(address(), "10.1.1.3"), "167837955");
    EXPECT_EQ(wire(address(), "192.168.1.1"), "3232235777");
    EXPECT_EQ(wire(address(), "255.255.255.255"), "4294967295");
    EXPECT_EQ(wire(address(), "3232235777"), "3232235777");
}

TEST(WireForm, RefusesWhatIsNoAddress) {
    for (const char* text :
         {"", "10.1.1", "10.1.1.256", "10.1.1.3.", "10.1.1.3x", "4294967296", "-1", " 10.1.1.3"}) {
        EXPECT_EQ(wire(address(), text), "needs an address such as 10.1.2.3") << text;
    }
}

TEST(WireForm, TakesChoicesByNameInAnyCaseOrByNumber) {
    EXPECT_EQ(wire(switchDescriptor(), "Enabled"), "1");
    EXPECT_EQ(wire(switchDescriptor(), "disabled"), "0");
    EXPECT_EQ(wire(switchDescriptor(), "1"), "1");
}

TEST(WireForm, NamesTheChoicesWhenItIsNone) {
    for (const char* text : {"", "on", "2", "1.0", "0x1"}) {
        EXPECT_EQ(wire(switchDescriptor(), text), "needs one of: Disabled, Enabled") << text;
    }
}

TEST(WireForm, TakesWholeNumbersOf32Bits) {
    EXPECT_EQ(wire(ofType("INT32"), "-2147483648"), "-2147483648");
    EXPECT_EQ(wire(ofType("INT16"), "7"), "7");
    EXPECT_EQ(wire(ofType("INT32"), "4294967295"), "4294967295");
    for (const char* text :
         {"", "1.5", "7x", "4294967296", "-2147483649", "99999999999999999999"}) {
        EXPECT_EQ(wire(ofType("INT32"), text), "needs a whole number of 32 bits") << text;
    }
}

TEST(WireForm, TakesFiniteNumbersForFloats) {
    EXPECT_EQ(wire(ofType("FLOAT"), "11.5"), "11.5");
    EXPECT_EQ(wire(ofType("FLOAT"), "-3"), "-3");
    for (const char* text : {"", "x", "1,5", "nan", "inf", "1e999"}) {
        EXPECT_EQ(wire(ofType("FLOAT"), text), "needs a number") << text;
    }
}

TEST(WireForm, TakesAnyTextForStrings) {
    EXPECT_EQ(wire(ofType("STRING"), ""), R"("")");
    EXPECT_EQ(wire(ofType("STRING"), "7"), R"("7")");
    EXPECT_EQ(wire(ofType("STRING"), "a=b \"c\""), R"("a=b \"c\"")");
}

TEST(WireForm, RefusesTypesThatHaveNoText) {
    EXPECT_EQ(wire(ofType("STRUCT"), "x"), "cannot be set from a text: STRUCT");
    EXPECT_EQ(wire(ofType("INT32_ARRAY"), "1"), "cannot be set from a text: INT32_ARRAY");
}

TEST(WireForm, GuessesWithoutADescriptor) {
    const auto plain = [](const char* text) {
        return renderJSON(plainWireForm(text).get(), false);
    };
    EXPECT_EQ(plain("7"), "7");
    EXPECT_EQ(plain("-0.5"), "-0.5");
    EXPECT_EQ(plain("true"), "true");
    EXPECT_EQ(plain("false"), "false");
    EXPECT_EQ(plain("active"), R"("active")");
    EXPECT_EQ(plain("10.1.2.3"), R"("10.1.2.3")");
    EXPECT_EQ(plain(""), R"("")");
}

TEST(WireForm, ReadsBackWhatHumanFormShows) {
    constexpr unsigned kSeed = 20240611;
    std::mt19937 random(kSeed);
    for (int round = 0; round < 2000; ++round) {
        const auto number = static_cast<uint32_t>(random());
        const UniqueJSON value = jsonNumber(number);
        for (const Descriptor& descriptor : {address(), ofType("INT32"), ofPrecision(-1)}) {
            const WireForm form = wireForm(descriptor, humanForm(descriptor, value.get()));
            ASSERT_TRUE(form.value) << "seed " << kSeed << " number " << number;
            ASSERT_EQ(form.value->valuedouble, number) << "seed " << kSeed;
        }
    }
}

}  // namespace
}  // namespace pallctl
