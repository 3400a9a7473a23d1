#include "client/parse_value.h"

#include <random>

#include <gtest/gtest.h>

#include "client/format_value.h"
#include "tools/client/descriptors.h"

namespace client {
namespace {

std::string wire(const Descriptor& descriptor, const std::string& text) {
    const ParsedValue form = parseValue(descriptor, text);
    return form.value ? util::renderJSON(form.value.get(), false) : form.problem;
}

TEST(ParsedValue, TakesAddressesDottedOrAsANumber) {
    EXPECT_EQ(wire(address(), "10.1.1.3"), "167837955");
    EXPECT_EQ(wire(address(), "192.168.1.1"), "3232235777");
    EXPECT_EQ(wire(address(), "255.255.255.255"), "4294967295");
    EXPECT_EQ(wire(address(), "3232235777"), "3232235777");
}

TEST(ParsedValue, TakesAnAddressOnlyForAWholeNumber) {
    Descriptor text = address();
    text.type = "STRING";
    EXPECT_EQ(wire(text, "10.1.1.3"), "\"10.1.1.3\"");
}

TEST(ParsedValue, RefusesWhatIsNoAddress) {
    for (const char* text :
         {"", "10.1.1", "10.1.1.256", "10.1.1.3.", "10.1.1.3x", "4294967296", "-1", " 10.1.1.3"}) {
        EXPECT_EQ(wire(address(), text), "must be an address such as 10.1.2.3") << text;
    }
}

TEST(ParsedValue, TakesChoicesByNameInAnyCaseOrByNumber) {
    EXPECT_EQ(wire(switchDescriptor(), "Enabled"), "1");
    EXPECT_EQ(wire(switchDescriptor(), "disabled"), "0");
    EXPECT_EQ(wire(switchDescriptor(), "1"), "1");
}

TEST(ParsedValue, TakesAChoiceAsItIsShown) {
    Descriptor descriptor = switchDescriptor();
    descriptor.choices = {{0, "1"}, {1, "On\r"}, {2, "on"}, {3, "ON"}};
    EXPECT_EQ(wire(descriptor, "1"), "0") << "the name, which is what is shown";
    EXPECT_EQ(wire(descriptor, "On\\x0d"), "1");
    EXPECT_EQ(wire(descriptor, "ON"), "3") << "the same before the same in another case";
}

TEST(ParsedValue, TakesWordsForASwitch) {
    Descriptor flag = switchDescriptor();
    flag.choices = {{0, "false"}, {1, "true"}};
    for (const Descriptor& descriptor : {switchDescriptor(), flag}) {
        for (const char* word : {"on", "ON", "true", "enabled"}) {
            EXPECT_EQ(wire(descriptor, word), "1") << word;
        }
        for (const char* word : {"off", "Off", "false", "disabled"}) {
            EXPECT_EQ(wire(descriptor, word), "0") << word;
        }
    }
}

TEST(ParsedValue, TakesNoSuchWordForOtherChoices) {
    Descriptor command = switchDescriptor();
    for (const std::vector<Choice>& choices : {std::vector<Choice>{{0, "Cancel"}, {1, "Apply"}},
                                               {{1, "Disabled"}, {0, "Enabled"}},
                                               {{0, "off"}, {1, "on"}, {2, "auto"}}}) {
        command.choices = choices;
        EXPECT_NE(wire(command, "true"), "1") << choices[0].name;
        EXPECT_NE(wire(command, "true"), "0") << choices[0].name;
    }
}

TEST(ParsedValue, NamesTheChoicesWhenItIsNone) {
    for (const char* text : {"", "maybe", "2", "1.5", "0x1"}) {
        EXPECT_EQ(wire(switchDescriptor(), text), "must be one of: Disabled, Enabled") << text;
    }
}

TEST(ParsedValue, TakesWholeNumbersOf32Bits) {
    EXPECT_EQ(wire(ofType("INT32"), "-2147483648"), "-2147483648");
    EXPECT_EQ(wire(ofType("INT16"), "7"), "7");
    EXPECT_EQ(wire(ofType("INT32"), "5.0"), "5");
    EXPECT_EQ(wire(ofType("INT32"), "4294967295"), "4294967295");
    for (const char* text :
         {"", "1.5", "7x", "4294967296", "-2147483649", "99999999999999999999"}) {
        EXPECT_EQ(wire(ofType("INT32"), text), "must be a 32-bit integer") << text;
    }
}

TEST(ParsedValue, TakesFiniteNumbersForFloats) {
    EXPECT_EQ(wire(ofType("FLOAT"), "11.5"), "11.5");
    EXPECT_EQ(wire(ofType("FLOAT"), "-3"), "-3");
    for (const char* text : {"", "x", "1,5", "nan", "inf", "1e999"}) {
        EXPECT_EQ(wire(ofType("FLOAT"), text), "must be a number") << text;
    }
}

TEST(ParsedValue, TakesAnyTextForStrings) {
    EXPECT_EQ(wire(ofType("STRING"), ""), R"("")");
    EXPECT_EQ(wire(ofType("STRING"), "7"), R"("7")");
    EXPECT_EQ(wire(ofType("STRING"), "a=b \"c\""), R"("a=b \"c\"")");
}

TEST(ParsedValue, RefusesWhatThereIsAnObjectionTo) {
    Descriptor descriptor = ofType("INT32");
    descriptor.maximum = 10;
    EXPECT_EQ(wire(descriptor, "10"), "10");
    EXPECT_EQ(wire(descriptor, "11"), "must be 10 or less");
}

TEST(ParsedValue, RefusesTypesThatHaveNoText) {
    EXPECT_EQ(wire(ofType("STRUCT"), "x"), "cannot be set from a text: STRUCT");
    EXPECT_EQ(wire(ofType("INT32_ARRAY"), "1"), "cannot be set from a text: INT32_ARRAY");
}

TEST(ParsedValue, GuessesWithoutADescriptor) {
    const auto plain = [](const char* text) {
        return util::renderJSON(parseUntypedValue(text).get(), false);
    };
    EXPECT_EQ(plain("7"), "7");
    EXPECT_EQ(plain("-0.5"), "-0.5");
    EXPECT_EQ(plain("true"), "true");
    EXPECT_EQ(plain("false"), "false");
    EXPECT_EQ(plain("active"), R"("active")");
    EXPECT_EQ(plain("10.1.2.3"), R"("10.1.2.3")");
    EXPECT_EQ(plain(""), R"("")");
}

TEST(ParsedValue, ReadsBackWhatHumanFormShows) {
    constexpr unsigned kSeed = 20240611;
    std::mt19937 random(kSeed);
    for (int round = 0; round < 2000; ++round) {
        const auto number = static_cast<uint32_t>(random());
        const util::UniqueJSON value = util::jsonNumber(number);
        for (const Descriptor& descriptor : {address(), ofType("INT32"), ofPrecision(-1)}) {
            const ParsedValue form = parseValue(descriptor, formatValue(descriptor, value.get()));
            ASSERT_TRUE(form.value) << "seed " << kSeed << " number " << number;
            ASSERT_EQ(form.value->valuedouble, number) << "seed " << kSeed;
        }
    }
}

TEST(ParseRawValue, TakesTheValueInJSON) {
    const auto raw = [](const Descriptor& descriptor, const char* text) {
        const ParsedValue form = parseRawValue(descriptor, text);
        return form.value ? util::renderJSON(form.value.get(), false) : form.problem;
    };
    EXPECT_EQ(raw(address(), "167772165"), "167772165");
    EXPECT_EQ(raw(ofType("STRING"), R"("a")"), R"("a")");
    EXPECT_EQ(raw(ofType("STRING"), "a"), "must be a JSON value");
    EXPECT_EQ(raw(ofType("INT32"), "1 2"), "must be a JSON value");
    EXPECT_EQ(raw(ofType("INT32"), ""), "must be a JSON value");
    EXPECT_EQ(raw(ofType("INT32"), R"("7")"), "must be a 32-bit integer");
    EXPECT_EQ(raw(ofType("STRUCT"), "{}"), "{}");
}

TEST(IsSameValue, ComparesValuesNotTexts) {
    EXPECT_TRUE(isSameValue(json("5").get(), json("5.0").get()));
    EXPECT_FALSE(isSameValue(json("5").get(), json("6").get()));
    EXPECT_FALSE(isSameValue(json("5").get(), json("\"5\"").get()));
    EXPECT_FALSE(isSameValue(json("\"a\"").get(), json("\"A\"").get()));
    EXPECT_FALSE(isSameValue(nullptr, json("0").get()));
}

TEST(IsSameValue, ComparesTheMembersThatAreWanted) {
    const Parameter port = serialPort();
    const auto holds = [&port](const char* text) {
        return isSameValue(port.value.get(), parseValue(port, text).value.get());
    };
    EXPECT_TRUE(holds("name=COM1"));
    EXPECT_TRUE(holds("name=COM1, connectionPoint="));
    EXPECT_FALSE(holds("name=COM1, connectionPoint=x"));
    EXPECT_FALSE(isSameValue(json("{}").get(), parseValue(port, "name=COM1").value.get()));
}

TEST(DropSameMembers, LeavesWhatDiffers) {
    const Parameter port = serialPort();
    const util::UniqueJSON wanted = parseValue(port, "name=COM1, connectionPoint=new").value;
    dropSameMembers(port.value.get(), wanted.get());
    const util::UniqueJSON one = parseValue(port, "connectionPoint=new").value;
    EXPECT_EQ(util::renderJSON(wanted.get(), false), util::renderJSON(one.get(), false));
    dropSameMembers(nullptr, wanted.get());
    EXPECT_EQ(util::renderJSON(wanted.get(), false), util::renderJSON(one.get(), false));
}

TEST(HasValueAsShown, TakesForEqualWhatPeopleSeeAsEqual) {
    const Parameter voltage = holding(ofPrecision(2), "11.987");
    EXPECT_TRUE(hasValueAsShown(voltage, json("11.99").get()));
    EXPECT_FALSE(hasValueAsShown(voltage, json("11.98").get()));
    EXPECT_TRUE(hasValueAsShown(holding(switchDescriptor(), "1"), json("1").get()));
    EXPECT_FALSE(hasValueAsShown(holding(ofType("STRING"), "null"), json("\"-\"").get()));
}

}  // namespace
}  // namespace client
