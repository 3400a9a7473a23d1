#include <gmock/gmock.h>

#include "recording/line_format.h"
#include "recording/recording.h"
#include "support/temporary_directory.h"

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using recording::Entry;
using recording::Reader;

const std::string kHeader =
    "{\"recording\":1,\"start\":\"2026-11-21T15:30:00.000000Z\",\"by\":\"pallbus\"}\n";
const std::string kFirst = "{\"at\":1.000000,\"from\":8,\"payload\":\"one\"}\n";
const std::string kSecond = "{\"at\":2.000000,\"from\":0,\"payload\":\"two\"}\n";

class ReaderTest : public testing::Test {
  protected:
    Reader reader(const std::string& text) { return Reader(directory_.write("a.rec", text)); }

    std::string place(const std::string& rest) const { return directory_.path("a.rec") + rest; }

    template <typename Act>
    static std::string problemOf(Act act) {
        try {
            act();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }

    const TemporaryDirectory directory_;
};

TEST_F(ReaderTest, GivesTheMessagesInOrderWithTheirLines) {
    Reader reader = this->reader(kHeader + kFirst + "\n  \r\n" + kSecond);
    EXPECT_EQ(reader.header().by, "pallbus");
    EXPECT_EQ(reader.next(), (Entry{1s, 8, "one"}));
    EXPECT_EQ(reader.line(), 2U);
    EXPECT_EQ(reader.next(), (Entry{2s, 0, "two"}));
    EXPECT_EQ(reader.line(), 5U);
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_EQ(reader.truncation(), std::nullopt);
}

TEST_F(ReaderTest, TakesARecordingWithoutMessages) {
    Reader reader = this->reader(kHeader);
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_EQ(reader.truncation(), std::nullopt);
}

TEST_F(ReaderTest, SaysWhatIsNoRecording) {
    EXPECT_EQ(problemOf([&] { reader(""); }), place(":1: not a recording: the file is empty"));
    EXPECT_EQ(problemOf([&] {
                  reader(
                      "\x7f"
                      "ELF\0\1\2"s);
              }),
              place(":1: not a recording: the line is not a JSON object"));
    EXPECT_EQ(problemOf([&] { reader(kFirst); }),
              place(":1: not a recording: \"recording\" is missing"));
    EXPECT_EQ(problemOf([] { Reader("/nowhere/a.rec"); }),
              "/nowhere/a.rec: No such file or directory");
    EXPECT_EQ(problemOf([] { Reader("/"); }), "/: Is a directory");
}

TEST_F(ReaderTest, NamesTheLineItDoesNotUnderstandAndGoesOnBehindIt) {
    Reader reader = this->reader(kHeader + kFirst + "{\"at\":1.5}\n" + "nonsense\n" + kSecond);
    reader.next();
    EXPECT_EQ(problemOf([&] { reader.next(); }), place(":3: \"from\" is missing or out of range"));
    EXPECT_EQ(problemOf([&] { reader.next(); }), place(":4: the line is not a JSON object"));
    EXPECT_EQ(reader.next(), (Entry{2s, 0, "two"}));
}

TEST_F(ReaderTest, RefusesTimeThatRunsBackwards) {
    Reader reader = this->reader(kHeader + kSecond + kFirst);
    reader.next();
    EXPECT_EQ(problemOf([&] { reader.next(); }), place(":3: earlier than the line before it"));
}

// Whatever the byte at which the power went: all whole lines are there, and the rest is said.
TEST_F(ReaderTest, EndsARecordingCutAnywhereWithoutLosingAWholeLine) {
    const std::string whole = kHeader + kFirst + kSecond;
    const size_t firstEnd = kHeader.size() + kFirst.size() - 1;
    for (size_t size = kHeader.size(); size <= whole.size(); ++size) {
        Reader reader = this->reader(whole.substr(0, size));
        size_t count = 0;
        while (reader.next()) {
            ++count;
        }
        EXPECT_EQ(count, size_t{size >= firstEnd} + size_t{size >= whole.size() - 1}) << size;
        const bool cut = (size > kHeader.size() && size < firstEnd) ||
                         (size > firstEnd + 1 && size < whole.size() - 1);
        const std::string line = size < firstEnd ? ":2" : ":3";
        EXPECT_EQ(
            reader.truncation(),
            cut ? std::optional(place(line + ": incomplete last line ignored")) : std::nullopt)
            << size;
    }
}

TEST_F(ReaderTest, TakesTheZeroesOfAFileSystemThatLostPowerForACut) {
    Reader reader = this->reader(kHeader + kFirst + std::string(4096, '\0'));
    EXPECT_EQ(reader.next(), (Entry{1s, 8, "one"}));
    EXPECT_EQ(reader.next(), std::nullopt);
    EXPECT_NE(reader.truncation(), std::nullopt);
}

TEST_F(ReaderTest, BoundsWhatItKeepsOfALine) {
    const std::string endless(recording::kMaxLineBytes + 1, ' ');
    Reader reader = this->reader(kHeader + endless + "{\n" + kSecond);
    EXPECT_EQ(problemOf([&] { reader.next(); }), place(":2: longer than 40001000 bytes"));
    EXPECT_EQ(reader.next(), (Entry{2s, 0, "two"}));
}

}  // namespace
