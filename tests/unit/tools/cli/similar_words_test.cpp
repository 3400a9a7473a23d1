#include "cli/similar_words.h"

#include <gmock/gmock.h>

namespace cli {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kNames{"ipAddress",    "sshEnabled",  "ftpEnabled", "psu1Voltage",
                                      "psu2Voltage",  "battVoltage", "gateway",    "systemName",
                                      "batteryLimit", "netmask"};

TEST(SimilarWords, AreTheSameInAnotherCaseFirst) {
    EXPECT_THAT(findSimilar("GATEWAY", kNames), ElementsAre("gateway"));
    EXPECT_THAT(findSimilar("ab", {"abc", "AB", "ac"}), ElementsAre("AB"));
}

TEST(SimilarWords, HaveALetterMissingAddedWrongOrTwoSwapped) {
    for (const char* word : {"gatway", "gateaway", "gatewai", "gatewya", "Gaetway"}) {
        EXPECT_THAT(findSimilar(word, kNames), ElementsAre("gateway")) << word;
    }
}

TEST(SimilarWords, WithTheFewestMistakesCount) {
    EXPECT_THAT(findSimilar("het", {"get", "list", "set", "help"}), ElementsAre("get", "set"));
    EXPECT_THAT(findSimilar("sshEnable", kNames), ElementsAre("sshEnabled"));
}

TEST(SimilarWords, OrContainTheWord) {
    EXPECT_THAT(findSimilar("address", kNames), ElementsAre("ipAddress"));
    EXPECT_THAT(findSimilar("ip", kNames), ElementsAre("ipAddress"));
    EXPECT_THAT(findSimilar("volt", kNames),
                ElementsAre("psu1Voltage", "psu2Voltage", "battVoltage"));
}

TEST(SimilarWords, OfAnOptionAreFoundByItsLetters) {
    EXPECT_THAT(findSimilar("--jsno", {"--fast", "--json"}), ElementsAre("--json"));
    EXPECT_THAT(findSimilar("-json", {"--fast", "--json"}), ElementsAre("--json"));
    EXPECT_THAT(findSimilar("--wait", {"--fast", "--json"}), IsEmpty());
    EXPECT_THAT(findSimilar("--", {"--fast", "--json"}), IsEmpty());
}

TEST(SimilarWords, AreThreeAtMost) {
    EXPECT_THAT(findSimilar("ab", {"xab", "yab", "zab", "wab"}), ElementsAre("xab", "yab", "zab"));
}

TEST(SimilarWords, AreNotGuessedFromALetterOrFromAnything) {
    for (const char* word : {"", "g", "frobnicate", "foo", "nosuch"}) {
        EXPECT_THAT(findSimilar(word, kNames), IsEmpty()) << word;
    }
    EXPECT_THAT(findSimilar(std::string(10'000, 'a'), kNames), IsEmpty());
    EXPECT_THAT(findSimilar("gateway", {std::string(10'000, 'a')}), IsEmpty());
    EXPECT_THAT(findSimilar("gateway", {}), IsEmpty());
}

TEST(SimilarWords, AreSuggestedAtTheEndOfAMessage) {
    EXPECT_EQ(suggest("gatway", kNames), "; did you mean 'gateway'?");
    EXPECT_EQ(suggest("het", {"get", "set"}), "; did you mean 'get' or 'set'?");
    EXPECT_EQ(suggest("volt", kNames),
              "; did you mean 'psu1Voltage', 'psu2Voltage' or 'battVoltage'?");
    EXPECT_EQ(suggest("frobnicate", kNames), "");
}

}  // namespace
}  // namespace cli
