#include "pallbus/replay/json_diff.h"

#include <gmock/gmock.h>

namespace {

using pallbus::replay::differences;
using pallbus::replay::IgnoredNames;
using pallbus::replay::JSONDifference;
using testing::ElementsAre;
using testing::IsEmpty;

util::UniqueJSON json(const std::string& text) {
    return util::parseJSON(text.data(), text.size());
}

std::vector<JSONDifference> between(const std::string& expected, const std::string& got,
                                    const IgnoredNames& ignored = {}) {
    return differences(json(expected).get(), json(got).get(), ignored);
}

TEST(DifferenceTest, IsNoneBetweenEqualValuesWhateverTheOrderOfMembers) {
    EXPECT_THAT(between(R"({"a":1,"b":[1,{"c":null}]})", R"({"b":[1,{"c":null}],"a":1.0})"),
                IsEmpty());
    EXPECT_THAT(between(R"({"a":1,"a":2})", R"({"a":1,"a":2})"), IsEmpty());
    EXPECT_THAT(differences(nullptr, nullptr, {}), IsEmpty());
}

TEST(DifferenceTest, NamesEveryLeafThatDiffers) {
    EXPECT_THAT(
        between(R"({"a":{"b":1,"c":"x"},"d":true})", R"({"a":{"b":2,"c":"y"},"d":true})"),
        ElementsAre(JSONDifference{"a.b", "1", "2"}, JSONDifference{"a.c", "\"x\"", "\"y\""}));
    EXPECT_THAT(between("[1,2]", "[2,1]"),
                ElementsAre(JSONDifference{"0", "1", "2"}, JSONDifference{"1", "2", "1"}));
    EXPECT_THAT(between(R"({"a":1})", R"({"a":"1"})"),
                ElementsAre(JSONDifference{"a", "1", "\"1\""}));
    EXPECT_THAT(between(R"({"a":[]})", R"({"a":{}})"),
                ElementsAre(JSONDifference{"a", "[]", "{}"}));
    EXPECT_THAT(between(R"({"a":1,"A":2})", R"({"a":1,"A":3})"),
                ElementsAre(JSONDifference{"A", "2", "3"}));
}

TEST(DifferenceTest, ShowsWhatIsOnlyOnOneSide) {
    EXPECT_THAT(
        between(R"({"a":1})", R"({"b":[2]})"),
        ElementsAre(JSONDifference{"a", "1", "nothing"}, JSONDifference{"b", "nothing", "[2]"}));
    EXPECT_THAT(between("[1]", "[1,2]"), ElementsAre(JSONDifference{"1", "nothing", "2"}));
    EXPECT_THAT(differences(nullptr, json("{}").get(), {}),
                ElementsAre(JSONDifference{"", "nothing", "{}"}));
}

TEST(DifferenceTest, LeavesOutIgnoredNamesWithAndWithoutTheirObject) {
    const IgnoredNames ignored{"volts"};
    EXPECT_THAT(between(R"({"volts":1,"a":1})", R"({"volts":2,"a":1})", ignored), IsEmpty());
    EXPECT_THAT(
        between(R"({"d_system.volts":{"value":1}})", R"({"d_system.volts":{"value":2}})", ignored),
        IsEmpty());
    EXPECT_THAT(between(R"({"volts":1})", "{}", ignored), IsEmpty());
    EXPECT_THAT(between(R"({"kilovolts":1})", R"({"kilovolts":2})", ignored),
                ElementsAre(JSONDifference{"kilovolts", "1", "2"}));
}

TEST(DifferenceTest, CutsLongValues) {
    const std::string text(1000, 'x');
    EXPECT_EQ(pallbus::replay::formatJSON(json("\"" + text + "\"").get()),
              "\"" + text.substr(0, 199) + "...");
}

}  // namespace
