#include "pallctl/values/condition.h"

#include <gtest/gtest.h>

#include "tools/client/descriptors.h"

namespace pallctl {
namespace {

using namespace client;

TEST(Condition, IsANameAComparisonAndAValue) {
    struct Row {
        const char* text;
        Comparison comparison;
        const char* value;
    };
    for (const Row& row :
         {Row{"a=1", Comparison::equal, "1"}, Row{"a!=1", Comparison::notEqual, "1"},
          Row{"a<1", Comparison::less, "1"}, Row{"a<=1", Comparison::lessOrEqual, "1"},
          Row{"a>1", Comparison::greater, "1"}, Row{"a>=1", Comparison::greaterOrEqual, "1"},
          Row{"a==b", Comparison::equal, "=b"}, Row{"a=", Comparison::equal, ""},
          Row{"a=b<=c", Comparison::equal, "b<=c"}}) {
        const auto condition = parseCondition(row.text);
        ASSERT_TRUE(condition) << row.text;
        EXPECT_EQ(condition->name, "a");
        EXPECT_EQ(condition->comparison, row.comparison) << row.text;
        EXPECT_EQ(condition->value, row.value) << row.text;
    }
    for (const char* text : {"", "a", "=1", "<1", "a!1", "a!"}) {
        EXPECT_FALSE(parseCondition(text)) << text;
    }
}

// Whether a value meets "x<op>value".
bool meets(const client::Parameter& parameter, const std::string& comparison) {
    const auto condition = parseCondition("x" + comparison);
    const auto wanted = parseWanted(parameter, *condition, false);
    EXPECT_EQ(wanted.problem, "") << comparison;
    return wanted.value && isMet(parameter, condition->comparison, wanted.value.get());
}

TEST(Condition, ComparesNumbers) {
    const client::Parameter level = holding(ofPrecision(1), "7");
    for (const char* comparison : {"=7", "!=7.1", "<7.1", "<=7", "<=8", ">6.9", ">=7", ">=-1"}) {
        EXPECT_TRUE(meets(level, comparison)) << comparison;
    }
    for (const char* comparison : {"=7.1", "!=7", "<7", "<=6.9", ">7", ">=7.1", "<6"}) {
        EXPECT_FALSE(meets(level, comparison)) << comparison;
    }
}

TEST(Condition, ComparesANumberAsItIsShown) {
    const client::Parameter level = holding(ofPrecision(1), "6.96");
    EXPECT_TRUE(meets(level, ">=7"));
    EXPECT_FALSE(meets(level, "<7"));
    EXPECT_TRUE(meets(level, ">6.94")) << "7.0 is above it, also as 6.9";
    EXPECT_FALSE(meets(level, ">6.97")) << "both are 7.0";
}

TEST(Condition, ComparesChoicesByTheirNumbersAndTextsForEqualityOnly) {
    const client::Parameter ssh = holding(switchDescriptor(), "1");
    EXPECT_TRUE(meets(ssh, "!=disabled"));
    EXPECT_TRUE(meets(ssh, ">=Enabled"));
    const client::Parameter name = holding(ofType("STRING"), "\"b\"");
    EXPECT_TRUE(meets(name, "!=a"));
    EXPECT_FALSE(meets(name, "!=b"));
    EXPECT_EQ(parseWanted(name, *parseCondition("x<c"), false).problem,
              "has no order; use = or !=");
    EXPECT_EQ(parseWanted(name, *parseCondition("x>\"c\""), true).problem,
              "has no order; use = or !=");
}

TEST(Condition, IsNotMetWithoutAValue) {
    const client::Parameter level = holding(ofPrecision(1), "null");
    for (const char* comparison : {"=7", "!=7", "<7", ">7"}) {
        EXPECT_FALSE(meets(level, comparison)) << comparison;
    }
}

}  // namespace
}  // namespace pallctl
