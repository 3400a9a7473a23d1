#include "systemstate/command_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>

#include <gtest/gtest.h>

namespace {

std::string firstLineOf(const std::string& output) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    EXPECT_EQ(write(ends[1], output.data(), output.size()), static_cast<ssize_t>(output.size()));
    close(ends[1]);
    std::string line = firstLineFrom(ends[0]);
    close(ends[0]);
    return line;
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

TEST(CommandOutput, FailedReadIsPrintedAndGivesAnEmptyLine) {
    const int directory = open("/", O_RDONLY | O_CLOEXEC);
    testing::internal::CaptureStdout();
    EXPECT_EQ(firstLineFrom(directory), "");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "fread error -1\n");
    close(directory);
}

}  // namespace
