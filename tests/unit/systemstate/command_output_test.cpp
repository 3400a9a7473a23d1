#include "systemstate/command_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

std::string firstLineOf(const std::string& written) {
    CommandOutput output;
    EXPECT_EQ(write(output.writeEnd(), written.data(), written.size()),
              static_cast<ssize_t>(written.size()));
    output.closeWriteEnd();
    output.read();
    return output.firstLine();
}

TEST(CommandOutput, FirstLineEndsAtTheLineFeed) {
    EXPECT_EQ(firstLineOf("KELI\nrest\n"), "KELI");
}

TEST(CommandOutput, WithoutLineFeedItEndsWithTheOutput) {
    EXPECT_EQ(firstLineOf("KELI"), "KELI");
}

TEST(CommandOutput, ZeroByteEndsTheText) {
    EXPECT_EQ(firstLineOf(std::string("KE\0LI\n", 6)), "KE");
}

TEST(CommandOutput, LineOf128BytesIsCutTo127) {
    EXPECT_EQ(firstLineOf(std::string(128, 'x') + '\n'), std::string(127, 'x'));
}

TEST(CommandOutput, TakesWhatIsThereAndWaitsForNothing) {
    CommandOutput output;
    output.read();
    EXPECT_EQ(output.firstLine(), "");
    ASSERT_EQ(write(output.writeEnd(), "KE", 2), 2);
    output.read();
    EXPECT_EQ(output.firstLine(), "KE");
    ASSERT_EQ(write(output.writeEnd(), "LI", 2), 2);
    output.read();
    EXPECT_EQ(output.firstLine(), "KELI");
    EXPECT_GE(output.readEnd(), 0);
}

TEST(CommandOutput, ThePipeIsClosedWhenNothingMoreIsToBeRead) {
    CommandOutput ended;
    ended.closeWriteEnd();
    ended.read();
    EXPECT_EQ(ended.readEnd(), -1);

    CommandOutput full;
    ASSERT_EQ(write(full.writeEnd(), std::string(127, 'x').data(), 127), 127);
    full.read();
    EXPECT_EQ(full.readEnd(), -1);
}

TEST(CommandOutput, FailedReadIsPrintedAndGivesAnEmptyLine) {
    CommandOutput output;
    const int directory = open("/", O_RDONLY | O_CLOEXEC);
    dup2(directory, output.readEnd());
    close(directory);
    testing::internal::CaptureStdout();
    output.read();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread error -1\n");
    EXPECT_EQ(output.firstLine(), "");
    EXPECT_EQ(output.readEnd(), -1);
}

}  // namespace
