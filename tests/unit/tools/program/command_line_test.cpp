#include "program/command_line.h"

#include <array>

#include <gmock/gmock.h>

namespace {

using testing::StartsWith;

class CommandLineTest : public testing::Test {
  protected:
    CommandLineTest() { line_.program().add("--port", port_); }

    std::optional<int> read(const char* word) {
        const std::array<const char*, 2> words{"tool", word};
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const auto status = line_.read(2, words.data());
        output_ = testing::internal::GetCapturedStdout();
        errors_ = testing::internal::GetCapturedStderr();
        return status;
    }

    int port_ = 0;
    CommandLine line_{"tool", "A tool."};
    std::string output_;
    std::string errors_;
};

TEST_F(CommandLineTest, GoesOnAfterGoodOptions) {
    EXPECT_EQ(read("--port=7"), std::nullopt);
    EXPECT_EQ(port_, 7);
    EXPECT_EQ(output_ + errors_, "");
}

TEST_F(CommandLineTest, ComplainsInOneLine) {
    EXPECT_EQ(read("--prot=7"), kBadUsage);
    EXPECT_EQ(errors_,
              "tool: The following argument was not expected: --prot=7 (--help tells more)\n");
    EXPECT_EQ(output_, "");
}

TEST_F(CommandLineTest, KeepsToOneLineWhateverWasTyped) {
    EXPECT_EQ(read("--pr\not\x1b[2J"), kBadUsage);
    EXPECT_EQ(errors_,
              "tool: The following argument was not expected: --pr?ot?[2J (--help tells more)\n");
}

TEST_F(CommandLineTest, NamesTheVerbOrOptionThatThereIsNot) {
    line_.program().needsVerb();
    Verb outer = line_.program().addVerb("outer", "");
    outer.needsVerb();
    outer.addVerb("inner", "");
    EXPECT_EQ(read("iner"), kBadUsage);
    EXPECT_EQ(errors_, "tool: no verb 'iner' (--help tells more)\n");
    EXPECT_EQ(read("--outer"), kBadUsage);
    EXPECT_EQ(errors_, "tool: no option '--outer' (--help tells more)\n");
    EXPECT_EQ(read("outer"), kBadUsage);
    EXPECT_EQ(errors_, "tool: a verb is required (--help tells more)\n");
}

TEST_F(CommandLineTest, PrintsVersionAndHelpOnStandardOutput) {
    EXPECT_EQ(read("--version"), 0);
    EXPECT_THAT(output_, StartsWith("tool 1."));
    EXPECT_EQ(read("--help"), 0);
    EXPECT_THAT(output_, StartsWith("A tool."));
    EXPECT_EQ(errors_, "");
}

}  // namespace
