#include "cli/command_line.h"

#include <array>

#include <gmock/gmock.h>

namespace cli {

namespace {

using testing::StartsWith;

class CommandLineTest : public testing::Test {
  protected:
    CommandLineTest() { line_.program().add("--port", port_); }

    int run(const char* word) {
        const std::array<const char*, 2> words{"tool", word};
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = line_.run(2, words.data());
        output_ = testing::internal::GetCapturedStdout();
        errors_ = testing::internal::GetCapturedStderr();
        return status;
    }

    int port_ = 0;
    CommandLine line_{"tool", "A tool."};
    std::string output_;
    std::string errors_;
};

TEST_F(CommandLineTest, RunsAfterGoodOptions) {
    line_.program().work([] { return 4; });
    EXPECT_EQ(run("--port=7"), 4);
    EXPECT_EQ(port_, 7);
    EXPECT_EQ(output_ + errors_, "");
}

TEST_F(CommandLineTest, ComplainsInOneLine) {
    EXPECT_EQ(run("--prot=7"), kUsageError);
    EXPECT_EQ(errors_,
              "tool: unknown option '--prot=7'; did you mean '--port'? (--help tells more)\n");
    EXPECT_EQ(output_, "");
}

TEST_F(CommandLineTest, EndsAMistakeWithTheReportOfTheCommand) {
    Command plugin = line_.program().addCommand("plugin", "");
    plugin.reportFailures({3, [](const std::string& error) { return "BAD " + error + "\n"; }});
    plugin.work([]() -> int { throw UsageError("needs more"); });
    line_.program().addCommand("other", "").work([]() -> int { throw UsageError("needs more"); });
    EXPECT_EQ(run("plugin"), 3);
    EXPECT_EQ(output_, "BAD plugin: needs more\n");
    EXPECT_EQ(errors_, "tool: plugin: needs more (--help tells more)\n");
    EXPECT_EQ(run("other"), kUsageError);
    EXPECT_EQ(run("stray"), kUsageError);
    EXPECT_EQ(output_, "");
}

TEST_F(CommandLineTest, EndsAnExceptionWithTheReportOfTheCommand) {
    Command plugin = line_.program().addCommand("plugin", "");
    plugin.reportFailures({3, [](const std::string& error) { return "BAD " + error + "\n"; }});
    plugin.work([]() -> int { throw std::runtime_error("no memory"); });
    EXPECT_EQ(run("plugin"), 3);
    EXPECT_EQ(output_, "BAD no memory\n");
    EXPECT_EQ(errors_, "tool: no memory\n");
}

TEST_F(CommandLineTest, NamesTheArgumentThatIsTooMany) {
    EXPECT_EQ(run("stray"), kUsageError);
    EXPECT_EQ(errors_, "tool: unexpected argument 'stray' (--help tells more)\n");
}

TEST_F(CommandLineTest, KeepsToOneLineWhateverWasTyped) {
    EXPECT_EQ(run("--pr\not\x1b[2J"), kUsageError);
    EXPECT_EQ(errors_, "tool: unknown option '--pr?ot?[2J' (--help tells more)\n");
}

TEST_F(CommandLineTest, NamesTheUnknownCommandOrOption) {
    line_.program().requireCommand();
    Command outer = line_.program().addCommand("outer", "");
    outer.requireCommand();
    outer.addCommand("inner", "");
    EXPECT_EQ(run("iner"), kUsageError);
    EXPECT_EQ(errors_, "tool: unknown command 'iner' (--help tells more)\n");
    EXPECT_EQ(run("--outer"), kUsageError);
    EXPECT_EQ(errors_, "tool: unknown option '--outer' (--help tells more)\n");
    EXPECT_EQ(run("outer"), kUsageError);
    EXPECT_EQ(errors_,
              "tool: outer: a command is required; choose from inner (--help tells more)\n");
}

TEST_F(CommandLineTest, PrintsVersionAndHelpOnStandardOutput) {
    EXPECT_EQ(run("--version"), 0);
    EXPECT_THAT(output_, StartsWith("tool 1."));
    EXPECT_EQ(run("--help"), 0);
    EXPECT_THAT(output_, StartsWith("A tool."));
    EXPECT_EQ(errors_, "");
}

}  // namespace

}  // namespace cli
