#include "model/tosk_value.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "model/tosk_struct_value.h"
#include "tosk_test_support.h"

namespace model {

namespace {

constexpr int64_t kLowest = std::numeric_limits<int64_t>::min();
constexpr int64_t kHighest = std::numeric_limits<int64_t>::max();

int64_t integerReadFrom(const char* json) {
    ToskIntegerValue value(77);
    EXPECT_EQ(0, value.fromJSON(parsed(json).get())) << json;
    return value.value();
}

double floatReadFrom(const char* json) {
    ToskFloatValue value(77);
    EXPECT_EQ(0, value.fromJSON(parsed(json).get())) << json;
    return value.value();
}

// ToskValue itself, with what its kinds must bring.
struct PlainValue : ToskValue {
    explicit PlainValue(int32_t type) : ToskValue(type) {}
    std::string toString() const override { return "plain"; }
    bool updateFrom(const ToskParam&, const ToskValue*) override { return false; }
};

TEST(ToskValue, BaseReadsNothingAndWritesNothing) {
    PlainValue value(kTypeStruct);
    EXPECT_EQ(0, value.fromJSON(nullptr));
    EXPECT_EQ(nullptr, value.toJSON());
    EXPECT_FALSE(value.changed());
}

// The text of each kind is what the JSON library prints for its item.
TEST(ToskValue, TextIsTheJSONOfTheValue) {
    const ToskIntegerValue address(int64_t{1} << 32);
    const ToskFloatValue reading(12.504);
    const ToskStringValue name("a \"b\"\n");
    ToskStructValue structure;
    ASSERT_EQ(0, structure.fromJSON(parsed(R"({"_d_baud":{"type":"INT32","value":9600}})").get()));
    for (const ToskValue* value :
         std::initializer_list<const ToskValue*>{&address, &reading, &name, &structure}) {
        EXPECT_EQ(rendered(value->toJSON()), value->toText().text);
    }
    EXPECT_EQ("null", PlainValue(kTypeStruct).toText().text);
}

TEST(ToskValue, BaseIsCompatibleWithItsOwnTypeOnly) {
    EXPECT_TRUE(PlainValue(8).isCompatible(PlainValue(8)));
    EXPECT_FALSE(PlainValue(8).isCompatible(PlainValue(9)));
}

TEST(CreateValue, IntegerTypesGiveAnIntegerOfTypeOne) {
    for (const int32_t code : {0, 1}) {
        const auto value = createValue(code);
        ASSERT_NE(nullptr, dynamic_cast<ToskIntegerValue*>(value.get()));
        EXPECT_EQ(1, value->type());
        EXPECT_EQ("0", value->toString());
        EXPECT_FALSE(value->changed());
    }
}

TEST(CreateValue, FloatStringAndStructGiveTheirKinds) {
    const auto number = createValue(2);
    ASSERT_NE(nullptr, dynamic_cast<ToskFloatValue*>(number.get()));
    EXPECT_EQ(2, number->type());
    const auto text = createValue(3);
    ASSERT_NE(nullptr, dynamic_cast<ToskStringValue*>(text.get()));
    EXPECT_EQ(3, text->type());
    const auto members = createValue(8);
    ASSERT_NE(nullptr, dynamic_cast<ToskStructValue*>(members.get()));
    EXPECT_EQ(8, members->type());
}

TEST(CreateValue, TypesWithoutAClassArePrintedAndGiveNone) {
    for (const int32_t code : {4, 5, 6, 7, 9, 10, -1}) {
        std::unique_ptr<ToskValue> value;
        const std::string printed = printedBy([&] { value = createValue(code); });
        EXPECT_EQ(nullptr, value);
        EXPECT_EQ("InvalidToskParamType: " + std::to_string(code) + "\n", printed);
    }
}

TEST(ToskIntegerValue, ReadsNumbersCutTowardZero) {
    EXPECT_EQ(3, integerReadFrom("3.9"));
    EXPECT_EQ(-3, integerReadFrom("-3.9"));
    EXPECT_EQ(0, integerReadFrom("-0.5"));
}

TEST(ToskIntegerValue, ReadsWhatIsNoNumberAsZeroWithoutError) {
    for (const char* json : {"\"7\"", "true", "false", "null", "[7]", "{\"a\":7}"}) {
        EXPECT_EQ(0, integerReadFrom(json)) << json;
    }
}

TEST(ToskIntegerValue, ReadsAddressesAboveThirtyOneBits) {
    EXPECT_EQ(3232235777, integerReadFrom("3232235777"));
    EXPECT_EQ(4294967295, integerReadFrom("4294967295"));
    EXPECT_EQ(-4294967296, integerReadFrom("-4294967296"));
    EXPECT_EQ(9007199254740992, integerReadFrom("9007199254740992"));
}

TEST(ToskIntegerValue, ReadsNumbersBeyondItsRangeAsTheEnds) {
    EXPECT_EQ(kHighest, integerReadFrom("9223372036854775808"));
    EXPECT_EQ(kHighest, integerReadFrom("1e300"));
    EXPECT_EQ(kHighest, integerReadFrom("1e999"));
    EXPECT_EQ(kLowest, integerReadFrom("-1e300"));
    EXPECT_EQ(kLowest, integerReadFrom("-9223372036854775808"));
}

TEST(ToskIntegerValue, ReadsNaNAsZero) {
    ToskIntegerValue value(5);
    EXPECT_EQ(0, value.fromJSON(util::jsonNumber(std::nan("")).get()));
    EXPECT_EQ(0, value.value());
}

TEST(ToskIntegerValue, RefusesANullItem) {
    ToskIntegerValue value(5);
    EXPECT_EQ(-1, value.fromJSON(nullptr));
    EXPECT_EQ(5, value.value());
    EXPECT_FALSE(value.changed());
}

TEST(ToskIntegerValue, SetMarksADifferenceOnly) {
    ToskIntegerValue value(5);
    value.set(5);
    EXPECT_FALSE(value.changed());
    value.set(6);
    EXPECT_TRUE(value.changed());
    value.set(6);
    EXPECT_TRUE(value.changed());
    EXPECT_EQ(6, value.value());
}

TEST(ToskIntegerValue, SetComparesAllSixtyFourBits) {
    ToskIntegerValue value(1);
    value.set((int64_t{1} << 32) + 1);
    EXPECT_TRUE(value.changed());
    EXPECT_EQ(4294967297, value.value());
}

TEST(ToskIntegerValue, WritesTextAndNumber) {
    EXPECT_EQ("-9223372036854775808", ToskIntegerValue(kLowest).toString());
    EXPECT_EQ("3232235777", ToskIntegerValue(3232235777).toString());
    EXPECT_EQ("3232235777", rendered(ToskIntegerValue(3232235777).toJSON()));
    EXPECT_EQ(1, ToskIntegerValue().valueClass());
}

TEST(ToskIntegerValue, IsCompatibleWithBothIntegerTypes) {
    const ToskIntegerValue value;
    EXPECT_TRUE(value.isCompatible(PlainValue(0)));
    EXPECT_TRUE(value.isCompatible(PlainValue(1)));
    EXPECT_FALSE(value.isCompatible(PlainValue(2)));
    EXPECT_FALSE(value.isCompatible(PlainValue(-1)));
}

TEST(ToskIntegerValue, UpdateCopiesADifferenceAndLeavesChangedAlone) {
    const ToskParam owner;
    const ToskIntegerValue other(6);
    ToskIntegerValue value(5);
    EXPECT_TRUE(value.updateFrom(owner, &other));
    EXPECT_EQ(6, value.value());
    EXPECT_FALSE(value.changed());
    EXPECT_FALSE(value.updateFrom(owner, &other));
}

TEST(ToskIntegerValue, UpdateIgnoresOtherKinds) {
    const ToskParam owner;
    ToskIntegerValue value(5);
    const PlainValue disguised(1);
    const ToskFloatValue number(6);
    const ToskStringValue text("6");
    for (const ToskValue* other :
         {static_cast<const ToskValue*>(&disguised), static_cast<const ToskValue*>(&number),
          static_cast<const ToskValue*>(&text)}) {
        EXPECT_FALSE(value.updateFrom(owner, other));
    }
    EXPECT_FALSE(value.updateFrom(owner, nullptr));
    EXPECT_EQ(5, value.value());
}

TEST(ToskIntegerValue, CopyGoesItsOwnWay) {
    ToskIntegerValue original(5);
    const ToskIntegerValue copy = original;
    original.set(6);
    EXPECT_EQ(5, copy.value());
    EXPECT_FALSE(copy.changed());
}

TEST(SetFromJSONChanged, TellsADifferenceFromARepetition) {
    ToskIntegerValue value(5);
    EXPECT_FALSE(value.setFromJSONChanged(parsed("5").get()));
    EXPECT_TRUE(value.setFromJSONChanged(parsed("6").get()));
    EXPECT_FALSE(value.setFromJSONChanged(parsed("6").get()));
    EXPECT_EQ(6, value.value());
}

TEST(SetFromJSONChanged, NullItemGivesFalseAndLeavesChangedUntouched) {
    ToskIntegerValue value(5);
    EXPECT_FALSE(value.setFromJSONChanged(nullptr));
    EXPECT_FALSE(value.changed());
    value.set(6);
    EXPECT_FALSE(value.setFromJSONChanged(nullptr));
    EXPECT_TRUE(value.changed());
}

TEST(SetFromJSONChanged, RefusedItemGivesFalseAndClearsChanged) {
    ToskStringValue value;
    EXPECT_TRUE(value.setFromJSONChanged(parsed("\"a\"").get()));
    EXPECT_FALSE(value.setFromJSONChanged(parsed("1").get()));
    EXPECT_FALSE(value.changed());
    EXPECT_EQ("a", value.text());
}

TEST(ToskFloatValue, ReadsNumbersAndEverythingElseAsZero) {
    EXPECT_DOUBLE_EQ(12.34, floatReadFrom("12.34"));
    EXPECT_DOUBLE_EQ(-1e300, floatReadFrom("-1e300"));
    for (const char* json : {"\"7\"", "true", "null", "[7]"}) {
        EXPECT_DOUBLE_EQ(0.0, floatReadFrom(json)) << json;
    }
}

TEST(ToskFloatValue, RefusesANullItem) {
    ToskFloatValue value(1.5);
    EXPECT_EQ(-1, value.fromJSON(nullptr));
    EXPECT_DOUBLE_EQ(1.5, value.value());
}

TEST(ToskFloatValue, SetMarksADifferenceOnly) {
    ToskFloatValue value(1.5);
    value.set(1.5);
    EXPECT_FALSE(value.changed());
    value.set(1.5000001);
    EXPECT_TRUE(value.changed());
    EXPECT_DOUBLE_EQ(1.5000001, value.value());
}

TEST(ToskFloatValue, ZerosOfBothSignsAreEqual) {
    ToskFloatValue value(0.0);
    value.set(-0.0);
    EXPECT_FALSE(value.changed());
}

TEST(ToskFloatValue, NaNIsAlwaysAChange) {
    ToskFloatValue value(std::nan(""));
    value.set(std::nan(""));
    EXPECT_TRUE(value.changed());
}

TEST(ToskFloatValue, WritesSixDecimalsAndANumber) {
    EXPECT_EQ("12.340000", ToskFloatValue(12.34).toString());
    EXPECT_EQ("-1.000000", ToskFloatValue(-1).toString());
    EXPECT_EQ("0.000000", ToskFloatValue(1e-9).toString());
    EXPECT_EQ("12.34", rendered(ToskFloatValue(12.34).toJSON()));
    EXPECT_EQ(1, ToskFloatValue().valueClass());
}

TEST(ToskFloatValue, WritesTheLargestNumberWhole) {
    const std::string text = ToskFloatValue(-std::numeric_limits<double>::max()).toString();
    EXPECT_EQ(1 + 309 + 7U, text.size());
    EXPECT_TRUE(text.starts_with("-179769313486231570814527423731704356798070567525844996"));
    EXPECT_TRUE(text.ends_with(".000000"));
}

TEST(ToskFloatValue, WritesWhatIsNoNumberAsJSONNull) {
    EXPECT_EQ("null", rendered(ToskFloatValue(std::nan("")).toJSON()));
    EXPECT_EQ("null", rendered(ToskFloatValue(HUGE_VAL).toJSON()));
}

TEST(ToskStringValue, ReadsTextsOnly) {
    ToskStringValue value("old");
    EXPECT_EQ(-1, value.fromJSON(nullptr));
    for (const char* json : {"7", "true", "null", "[\"a\"]", "{\"a\":\"a\"}"}) {
        EXPECT_EQ(-1, value.fromJSON(parsed(json).get())) << json;
    }
    EXPECT_EQ("old", value.text());
    EXPECT_FALSE(value.changed());
    EXPECT_EQ(0, value.fromJSON(parsed("\"new\"").get()));
    EXPECT_EQ("new", value.text());
    EXPECT_TRUE(value.changed());
}

TEST(ToskStringValue, RefusesMoreThanAMebibyte) {
    ToskStringValue value("before");
    EXPECT_EQ(-1, value.fromJSON(util::jsonString(std::string(1024 * 1024 + 1, 'x')).get()));
    EXPECT_EQ("before", value.text());
    EXPECT_EQ(0, value.fromJSON(util::jsonString(std::string(1024 * 1024, 'x')).get()));
    EXPECT_EQ(1024u * 1024u, value.text().size());
}

TEST(ToskStringValue, ReadingTheSameTextIsNoChange) {
    ToskStringValue value("same");
    EXPECT_EQ(0, value.fromJSON(parsed("\"same\"").get()));
    EXPECT_FALSE(value.changed());
}

TEST(ToskStringValue, WritesItsText) {
    const ToskStringValue value("a \"b\"");
    EXPECT_EQ("a \"b\"", value.toString());
    EXPECT_EQ(R"("a \"b\"")", rendered(value.toJSON()));
    EXPECT_EQ(R"("")", rendered(ToskStringValue().toJSON()));
    EXPECT_EQ(2, value.valueClass());
}

TEST(ToskStringValue, UpdateCopiesADifferenceAndLeavesChangedAlone) {
    const ToskParam owner;
    const ToskStringValue other("new");
    ToskStringValue value("old");
    EXPECT_TRUE(value.updateFrom(owner, &other));
    EXPECT_EQ("new", value.text());
    EXPECT_FALSE(value.changed());
    EXPECT_FALSE(value.updateFrom(owner, &other));
}

TEST(ToskStringValue, UpdateIgnoresOtherKinds) {
    const ToskParam owner;
    ToskStringValue value("old");
    const ToskIntegerValue number(6);
    const PlainValue disguised(3);
    EXPECT_FALSE(value.updateFrom(owner, &number));
    EXPECT_FALSE(value.updateFrom(owner, &disguised));
    EXPECT_FALSE(value.updateFrom(owner, nullptr));
    EXPECT_EQ("old", value.text());
}

}  // namespace

}  // namespace model
