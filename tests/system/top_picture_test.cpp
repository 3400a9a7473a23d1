// The picture of `pallctl top` in doc/: that it can be drawn again.

#include "pallframe_process.h"

using namespace outside;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

// What becomes of a screen with these lines, in which \033 begins an escape sequence.
std::string drawn(const std::string& screen) {
    const Result result =
        run({"sh", "-c", "printf \"$0\" | LC_ALL=C awk -f doc/picture/svg.awk", screen});
    EXPECT_EQ(result.error, "");
    return result.output;
}

TEST(TopPicture, IsOneSvgElement) {
    EXPECT_THAT(drawn("a\\n"), AllOf(StartsWith("<svg "), EndsWith("</svg>\n")));
}

TEST(TopPicture, TextIsPlacedByItsColumns) {
    const std::string picture = drawn("ü\\033[1m<&\\033[0m\\n");
    EXPECT_THAT(picture, HasSubstr("<text x=\"0.0\" y=\"13.0\" textLength=\"8.4\""));
    EXPECT_THAT(picture, HasSubstr("<text x=\"8.4\" y=\"13.0\" textLength=\"16.8\""));
    EXPECT_THAT(picture, HasSubstr(" font-weight=\"bold\">&lt;&amp;</text>"));
}

TEST(TopPicture, BlocksAreDrawnAsHighAsTheyAre) {
    const std::string picture = drawn("\\n▁█\\n");
    EXPECT_THAT(picture, HasSubstr("<rect x=\"0.0\" y=\"34.2\" width=\"8.4\" height=\"1.8\""));
    EXPECT_THAT(picture, HasSubstr("<rect x=\"8.4\" y=\"22.0\" width=\"8.4\" height=\"14.0\""));
    EXPECT_THAT(picture, Not(HasSubstr("<text")));
}

TEST(TopPicture, WhatIsSelectedHasItsBackgroundAlsoBehindBlanks) {
    EXPECT_THAT(drawn("\\033[7ma   \\033[0m\\n"),
                HasSubstr("<rect x=\"0.0\" y=\"0.0\" width=\"33.6\" height=\"18.0\""));
}

TEST(TopPicture, ItsStoryCanBePlayed) {
    const Result result =
        run(pallframeCommand({"run", "--scenario", "doc/picture/story.scenario", "--", "true"}));
    EXPECT_EQ(result.status, 0) << result.error;
}

}  // namespace
