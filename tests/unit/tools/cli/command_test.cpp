#include "cli/command.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cli/command_line.h"

namespace cli {

namespace {

class CommandTest : public testing::Test {
  protected:
    int run(std::vector<const char*> words) {
        words.insert(words.begin(), "tool");
        testing::internal::CaptureStderr();
        const int status = line_.run(static_cast<int>(words.size()), words.data());
        complaint_ = testing::internal::GetCapturedStderr();
        return status;
    }

    CommandLine line_{"tool", "A tool."};
    Command program_ = line_.program();
    std::string complaint_;
};

TEST_F(CommandTest, RunsItsWorkWhenTheLineNamesIt) {
    std::string done;
    program_.addCommand("lift", "").work([&done] {
        done += "lift";
        return 3;
    });
    program_.addCommand("drop", "").work([&done] {
        done += "drop";
        return 4;
    });
    EXPECT_EQ(run({"drop"}), 4);
    EXPECT_EQ(done, "drop");
}

TEST_F(CommandTest, RunsInsteadOfTheProgramItself) {
    program_.work([] { return 1; });
    program_.addCommand("lift", "").work([] { return 2; });
    EXPECT_EQ(run({"lift"}), 2);
}

TEST_F(CommandTest, RunsNoWorkWhenTheLineIsInvalid) {
    bool done = false;
    program_.addCommand("lift", "").work([&done] {
        done = true;
        return 0;
    });
    EXPECT_EQ(run({"lift", "--high"}), kUsageError);
    EXPECT_FALSE(done);
}

TEST_F(CommandTest, ReportsAUsageErrorOfItsWork) {
    program_.addCommand("lift", "").work([]() -> int { throw UsageError("needs a load"); });
    EXPECT_EQ(run({"lift"}), kUsageError);
    EXPECT_EQ(complaint_, "tool: lift: needs a load (--help tells more)\n");
}

TEST_F(CommandTest, PassesOtherExceptionsOfItsWorkOn) {
    program_.addCommand("lift", "").work([]() -> int { throw std::runtime_error("too heavy"); });
    const std::vector<const char*> words{"tool", "lift"};
    EXPECT_THROW(line_.run(2, words.data()), std::runtime_error);
}

TEST_F(CommandTest, ReadsEveryKindOfValue) {
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
    EXPECT_EQ(run({"--text=a b", "--whole=-3", "--port=65535", "--seed=18446744073709551615",
                   "--factor=0.25", "x", "y"}),
              0);
    EXPECT_EQ(text, "a b");
    EXPECT_EQ(whole, -3);
    EXPECT_EQ(port, 65535);
    EXPECT_EQ(seed, 18446744073709551615U);
    EXPECT_EQ(factor, 0.25);
    EXPECT_EQ(texts, (std::vector<std::string>{"x", "y"}));
}

TEST_F(CommandTest, TurnsAFlagWithAMarkToFalse) {
    bool log = true;
    program_.addFlag("!--no-log", log, "");
    EXPECT_EQ(run({"--no-log"}), 0);
    EXPECT_FALSE(log);
}

TEST_F(CommandTest, TakesOneValueEachTimeAnOptionStands) {
    std::vector<std::string> faults;
    std::string word;
    program_.add("-t", faults).oneEachTime();
    program_.add("WORD", word);
    EXPECT_EQ(run({"-t", "drop", "-t", "delay 2s", "word"}), 0);
    EXPECT_EQ(faults, (std::vector<std::string>{"drop", "delay 2s"}));
    EXPECT_EQ(word, "word");
}

TEST_F(CommandTest, RefusesOptionsThatItExcludes) {
    bool verbose = false;
    program_.allowOptionsAnywhere();
    program_.addFlag("--verbose", verbose, "");
    program_.addCommand("lift", "").excludes({"--verbose"});
    EXPECT_EQ(run({"--verbose", "lift"}), kUsageError);
    EXPECT_EQ(complaint_, "tool: lift cannot be combined with --verbose (--help tells more)\n");
}

TEST_F(CommandTest, MayBeOmittedWhereAtMostOneIsAllowed) {
    program_.addCommand("lift", "");
    program_.addCommand("drop", "");
    program_.allowOneCommand();
    EXPECT_EQ(run({}), 0);
    EXPECT_EQ(run({"lift"}), 0);
    EXPECT_EQ(run({"lift", "drop"}), kUsageError);
}

}  // namespace

}  // namespace cli
