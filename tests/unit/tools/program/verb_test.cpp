#include "program/verb.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "program/command_line.h"

namespace {

class VerbTest : public testing::Test {
  protected:
    std::optional<int> read(std::vector<const char*> words) {
        words.insert(words.begin(), "tool");
        testing::internal::CaptureStderr();
        const auto status = line_.read(static_cast<int>(words.size()), words.data());
        complaint_ = testing::internal::GetCapturedStderr();
        return status;
    }

    CommandLine line_{"tool", "A tool."};
    Verb program_ = line_.program();
    std::string complaint_;
};

TEST_F(VerbTest, TakesItsActionWhenTheLineNamesIt) {
    std::string done;
    program_.addVerb("lift", "").action([&done] { done += "lift"; });
    program_.addVerb("drop", "").action([&done] { done += "drop"; });
    EXPECT_EQ(read({"drop"}), std::nullopt);
    EXPECT_EQ(done, "drop");
}

TEST_F(VerbTest, TakesNoActionWhenTheLineMakesNoSense) {
    bool done = false;
    program_.addVerb("lift", "").action([&done] { done = true; });
    EXPECT_EQ(read({"lift", "--high"}), kBadUsage);
    EXPECT_FALSE(done);
}

TEST_F(VerbTest, ComplainsInTheWordsOfItsAction) {
    program_.addVerb("lift", "").action([] { throw BadUsage("needs a load"); });
    EXPECT_EQ(read({"lift"}), kBadUsage);
    EXPECT_EQ(complaint_, "tool: lift: needs a load (--help tells more)\n");
}

TEST_F(VerbTest, PassesOtherFailuresOfItsActionOn) {
    program_.addVerb("lift", "").action([] { throw std::runtime_error("too heavy"); });
    const std::vector<const char*> words{"tool", "lift"};
    EXPECT_THROW(line_.read(2, words.data()), std::runtime_error);
}

TEST_F(VerbTest, ReadsEveryKindOfValue) {
    std::string text;
    std::vector<std::string> texts;
    int whole = 0;
    uint16_t port = 0;
    uint64_t seed = 0;
    double factor = 0;
    program_.add("--text", text);
    program_.add("--whole", whole);
    program_.add("--port", port);
    program_.add("--seed", seed);
    program_.add("--factor", factor);
    program_.add("NAME", texts);
    EXPECT_EQ(read({"--text=a b", "--whole=-3", "--port=65535", "--seed=18446744073709551615",
                    "--factor=0.25", "x", "y"}),
              std::nullopt);
    EXPECT_EQ(text, "a b");
    EXPECT_EQ(whole, -3);
    EXPECT_EQ(port, 65535);
    EXPECT_EQ(seed, 18446744073709551615U);
    EXPECT_EQ(factor, 0.25);
    EXPECT_EQ(texts, (std::vector<std::string>{"x", "y"}));
}

TEST_F(VerbTest, TurnsAFlagWithAMarkToFalse) {
    bool log = true;
    program_.addFlag("!--no-log", log, "");
    EXPECT_EQ(read({"--no-log"}), std::nullopt);
    EXPECT_FALSE(log);
}

TEST_F(VerbTest, TakesOneValueEachTimeAnOptionStands) {
    std::vector<std::string> faults;
    std::string word;
    program_.add("-t", faults).oneEachTime();
    program_.add("WORD", word);
    EXPECT_EQ(read({"-t", "drop", "-t", "delay 2s", "word"}), std::nullopt);
    EXPECT_EQ(faults, (std::vector<std::string>{"drop", "delay 2s"}));
    EXPECT_EQ(word, "word");
}

TEST_F(VerbTest, RefusesOptionsThatMakeNoSenseWithIt) {
    bool verbose = false;
    program_.optionsGoAnywhere();
    program_.addFlag("--verbose", verbose, "");
    program_.addVerb("lift", "").excludes({"--verbose"});
    EXPECT_EQ(read({"--verbose", "lift"}), kBadUsage);
    EXPECT_EQ(complaint_, "tool: lift excludes --verbose (--help tells more)\n");
}

TEST_F(VerbTest, MayBeLeftOutWhereOneAtMostIsTaken) {
    program_.addVerb("lift", "");
    program_.addVerb("drop", "");
    program_.takesOneVerb();
    EXPECT_EQ(read({}), std::nullopt);
    EXPECT_EQ(read({"lift"}), std::nullopt);
    EXPECT_EQ(read({"lift", "drop"}), kBadUsage);
}

}  // namespace
