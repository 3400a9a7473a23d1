// The example in doc/recording.md is a recording.

#include <gmock/gmock.h>

#include "recording/recording.h"
#include "support/temporary_directory.h"
#include "util/files.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using recording::Entry;
using recording::Reader;
using testing::StartsWith;

// What stands between the line "```recording" and the line "```".
std::string exampleOf(const std::string& page) {
    const std::string begin = "\n```recording\n";
    const size_t start = page.find(begin);
    const size_t end = page.find("\n```\n", start + begin.size());
    if (start == std::string::npos || end == std::string::npos) {
        return "";
    }
    return page.substr(start + begin.size(), end + 1 - start - begin.size());
}

TEST(RecordingPageTest, ShowsARecordingThatCanBeRead) {
    const TemporaryDirectory directory;
    Reader reader(directory.write("example", exampleOf(util::readFile(PALLWATCH_PAGE, true))));
    EXPECT_EQ(reader.header().by, "pallbus");

    const std::optional<Entry> question = reader.next();
    ASSERT_TRUE(question);
    EXPECT_EQ(question->at, 3'250'417us);
    EXPECT_EQ(question->from, 5);
    EXPECT_THAT(question->payload, StartsWith("[\"GET\", \"system\", 5, 0, 0]\n{"));
    const std::optional<Entry> answer = reader.next();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->from, 8);
    EXPECT_EQ(reader.next(), (Entry{4s, 0, "\xff\x00\x01"s}));
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_EQ(reader.truncation(), std::nullopt);
}

}  // namespace
