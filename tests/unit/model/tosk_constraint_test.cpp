#include "model/tosk_constraint.h"

#include <limits>

#include <gtest/gtest.h>

#include "tosk_test_support.h"

namespace model {

namespace {

using Choices = std::vector<ToskIntegerChoiceConstraint::Choice>;

const Choices kSwitch{{0, "Disabled"}, {1, "Enabled"}};

Choices choicesReadFrom(const std::string& choices) {
    ToskIntegerChoiceConstraint constraint;
    const util::UniqueJSON json = parsed(R"({"type":"INT_CHOICE","choices":)" + choices + "}");
    EXPECT_EQ(0, constraint.fromJSON(json.get())) << choices;
    return constraint.choices();
}

TEST(ToskConstraint, WritesTheNameOfItsType) {
    EXPECT_EQ(R"({"type":"UNDEFINED"})", rendered(ToskConstraint().toJSON()));
    EXPECT_EQ(R"({"type":"INT_RANGE"})", rendered(ToskConstraint(2).toJSON()));
    EXPECT_EQ(R"({"type":"UNDEFINED"})", rendered(ToskConstraint(42).toJSON()));
}

TEST(ToskConstraint, ReadsTheNameOfItsType) {
    ToskConstraint constraint;
    EXPECT_EQ(0, constraint.fromJSON(parsed(R"({"type":"ALARM_TABLE"})").get()));
    EXPECT_EQ(7, constraint.type());
    EXPECT_EQ(0, constraint.fromJSON(parsed(R"({"type":"whatever"})").get()));
    EXPECT_EQ(9, constraint.type());
}

TEST(ToskConstraint, RefusesWhatHasNoTypeText) {
    ToskConstraint constraint(2);
    EXPECT_EQ(-1, constraint.fromJSON(nullptr));
    for (const char* json :
         {"{}", "7", "[]", R"({"type":6})", R"({"type":null})", R"({"Type":"INT_CHOICE"})"}) {
        EXPECT_EQ(-1, constraint.fromJSON(parsed(json).get())) << json;
    }
    EXPECT_EQ(2, constraint.type());
}

TEST(ToskIntegerChoiceConstraint, StartsEmptyAndOfItsType) {
    EXPECT_EQ(6, ToskIntegerChoiceConstraint().type());
    EXPECT_EQ(R"({"type":"INT_CHOICE","choices":[]})",
              rendered(ToskIntegerChoiceConstraint().toJSON()));
}

TEST(ToskIntegerChoiceConstraint, WritesChoicesInOrderWithTheValueBeforeTheName) {
    EXPECT_EQ(R"({"type":"INT_CHOICE","choices":[{"value":0,"name":"Disabled"},)"
              R"({"value":1,"name":"Enabled"}]})",
              rendered(ToskIntegerChoiceConstraint(kSwitch).toJSON()));
}

TEST(ToskIntegerChoiceConstraint, ReadsChoicesInOrder) {
    EXPECT_EQ(kSwitch, choicesReadFrom(R"([{"value":0,"name":"Disabled"},
                                           {"name":"Enabled","value":1}])"));
}

TEST(ToskIntegerChoiceConstraint, SkipsChoicesWithoutValueOrName) {
    EXPECT_EQ((Choices{{2, "C"}}), choicesReadFrom(R"([{"name":"A"},{"value":1},
        {"value":1,"name":7},{},7,null,"x",[],{"value":2,"name":"C"}])"));
}

TEST(ToskIntegerChoiceConstraint, ReadsAnyItemAsANumberOfThirtyTwoBits) {
    EXPECT_EQ((Choices{{3, "a"},
                       {-3, "b"},
                       {std::numeric_limits<int32_t>::max(), "c"},
                       {std::numeric_limits<int32_t>::min(), "d"},
                       {0, "e"},
                       {0, "f"},
                       {1, "g"},
                       {0, "h"}}),
              choicesReadFrom(R"([{"value":3.9,"name":"a"},{"value":-3.9,"name":"b"},
        {"value":1e300,"name":"c"},{"value":-1e300,"name":"d"},{"value":"7","name":"e"},
        {"value":null,"name":"f"},{"value":true,"name":"g"},{"value":false,"name":"h"}])"));
}

TEST(ToskIntegerChoiceConstraint, ChoicesThatAreNoListHoldNoChoice) {
    for (const char* choices : {"7", "\"A\"", "null", "true", "{}", R"({"value":1,"name":"A"})"}) {
        EXPECT_TRUE(choicesReadFrom(choices).empty()) << choices;
    }
}

TEST(ToskIntegerChoiceConstraint, ReadsAnyTypeName) {
    ToskIntegerChoiceConstraint constraint;
    EXPECT_EQ(0, constraint.fromJSON(parsed(R"({"type":"INT_RANGE","choices":[]})").get()));
    EXPECT_EQ(2, constraint.type());
}

TEST(ToskIntegerChoiceConstraint, ForgetsItsChoicesBeforeEveryRead) {
    for (const char* json : {"{}", R"({"type":"INT_CHOICE"})", R"({"choices":[]})"}) {
        ToskIntegerChoiceConstraint constraint(kSwitch);
        EXPECT_EQ(-1, constraint.fromJSON(parsed(json).get())) << json;
        EXPECT_TRUE(constraint.choices().empty()) << json;
    }
    ToskIntegerChoiceConstraint constraint(kSwitch);
    EXPECT_EQ(-1, constraint.fromJSON(nullptr));
    EXPECT_TRUE(constraint.choices().empty());
}

TEST(ToskIntegerChoiceConstraint, KeepsTheTypeReadBeforeItMissesTheChoices) {
    ToskIntegerChoiceConstraint constraint;
    EXPECT_EQ(-1, constraint.fromJSON(parsed(R"({"type":"INT_RANGE"})").get()));
    EXPECT_EQ(2, constraint.type());
}

TEST(CreateConstraint, IntegerChoiceGivesAnEmptyOneToRead) {
    const auto json = parsed(R"({"type":"INT_CHOICE","choices":[{"value":1,"name":"A"}]})");
    const auto constraint = createConstraint(json.get());
    const auto* choices = dynamic_cast<const ToskIntegerChoiceConstraint*>(constraint.get());
    ASSERT_NE(nullptr, choices);
    EXPECT_EQ(6, choices->type());
    EXPECT_TRUE(choices->choices().empty());
}

TEST(CreateConstraint, EveryOtherTypeGivesNone) {
    EXPECT_EQ(nullptr, createConstraint(nullptr));
    for (const char* json :
         {"{}", "7", R"({"type":6})", R"({"type":"INT_RANGE"})", R"({"type":"INT_NULL"})",
          R"({"type":"STRUCT"})", R"({"type":"UNDEFINED"})", R"({"type":"int_choice"})"}) {
        EXPECT_EQ(nullptr, createConstraint(parsed(json).get())) << json;
    }
}

}  // namespace

}  // namespace model
