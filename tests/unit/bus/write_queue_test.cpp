#include "bus/write_queue.h"

#include <string>
#include <vector>

#include <asio/buffer.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"

using lumo::WriteQueue;
using testing::ElementsAre;

namespace {

void append(WriteQueue& queue, std::vector<std::string> parts) {
    queue.append(parts);
}

void greet(WriteQueue& queue, std::vector<std::string> parts) {
    queue.appendToLogin(parts);
}

std::vector<std::string> texts(const WriteQueue::GatherList& list) {
    std::vector<std::string> found;
    for (const asio::const_buffer& buffer : list) {
        found.emplace_back(static_cast<const char*>(buffer.data()), buffer.size());
    }
    return found;
}

}  // namespace

TEST(WriteQueue, WritesStringsInTheOrderOfTheirArrival) {
    WriteQueue queue;
    append(queue, {"a", "b"});
    append(queue, {"c"});
    EXPECT_THAT(texts(queue.begin()), ElementsAre("a", "b", "c"));
}

TEST(WriteQueue, MovesTheStrings) {
    WriteQueue queue;
    std::vector<std::string> parts{std::string(1000, 'x')};
    const char* const bytes = parts[0].data();
    queue.append(parts);
    EXPECT_EQ(queue.begin().front().data(), bytes);
}

TEST(WriteQueue, CollectsWhileAWriteIsInFlight) {
    WriteQueue queue;
    append(queue, {"written"});
    queue.begin();
    append(queue, {"next"});
    EXPECT_TRUE(queue.writing());
    EXPECT_THAT(texts(queue.unwritten()), ElementsAre("written"));
    queue.consume(7);
    EXPECT_FALSE(queue.writing());
    EXPECT_TRUE(queue.waiting());
    EXPECT_THAT(texts(queue.begin()), ElementsAre("next"));
}

TEST(WriteQueue, PartlyTakenWriteGoesOnInTheMiddleOfAString) {
    WriteQueue queue;
    append(queue, {"abc", "def", "ghi"});
    queue.begin();
    queue.consume(4);
    EXPECT_THAT(texts(queue.unwritten()), ElementsAre("ef", "ghi"));
    queue.consume(2);
    EXPECT_THAT(texts(queue.unwritten()), ElementsAre("ghi"));
    queue.consume(3);
    EXPECT_FALSE(queue.writing());
    EXPECT_FALSE(queue.waiting());
}

TEST(WriteQueue, StringsWithoutBytesAreWrittenWithTheRest) {
    WriteQueue queue;
    append(queue, {"", "a", ""});
    queue.begin();
    queue.consume(1);
    EXPECT_FALSE(queue.writing());
    append(queue, {"", ""});
    queue.begin();
    queue.consume(0);
    EXPECT_FALSE(queue.writing());
}

TEST(WriteQueue, SixteenStringsStayWhereTheyAre) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(16, "ab"));
    EXPECT_EQ(queue.begin().size(), 16u);
}

TEST(WriteQueue, SeventeenStringsBecomeOneBuffer) {
    WriteQueue queue;
    std::vector<std::string> parts(16, "ab");
    parts.push_back("c");
    append(queue, parts);
    EXPECT_THAT(texts(queue.begin()),
                ElementsAre(std::string("abababababababab") + "abababababababab" + "c"));
    queue.consume(32);
    EXPECT_THAT(texts(queue.unwritten()), ElementsAre("c"));
}

TEST(WriteQueue, JoinedBatchesDoNotRunIntoEachOther) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(20, "1"));
    queue.begin();
    queue.consume(20);
    append(queue, std::vector<std::string>(17, "2"));
    EXPECT_THAT(texts(queue.begin()), ElementsAre(std::string(17, '2')));
}

TEST(WriteQueue, WithoutMemoryToJoinTheStringsAreWrittenAsTheyAre) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(17, std::string(1000, 'x')));
    const RefusedAllocations refused(10'000);
    EXPECT_EQ(queue.begin().size(), 16u);
    queue.consume(16'000);
    EXPECT_THAT(texts(queue.unwritten()), ElementsAre(std::string(1000, 'x')));
}

TEST(WriteQueue, JoinsNoMoreThan64KiB) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(100, std::string(1024, 'x')));
    EXPECT_THAT(texts(queue.begin()), ElementsAre(std::string(64 * 1024, 'x')));
    queue.consume(64 * 1024);
    EXPECT_THAT(texts(queue.unwritten()), ElementsAre(std::string(36 * 1024, 'x')));
    queue.consume(36 * 1024);
    EXPECT_FALSE(queue.writing());
}

TEST(WriteQueue, LargeStringAmongSmallOnesIsWrittenWhereItLies) {
    WriteQueue queue;
    std::vector<std::string> parts(20, "s");
    parts[18] = std::string(100'000, 'l');
    const char* const bytes = parts[18].data();
    queue.append(parts);
    EXPECT_THAT(texts(queue.begin()), ElementsAre(std::string(18, 's')));
    queue.consume(18);
    EXPECT_EQ(queue.unwritten().size(), 2u);
    EXPECT_EQ(queue.unwritten().front().data(), bytes);
}

TEST(WriteQueue, IsFullWithFourMebibytesWaitingAndInFlight) {
    constexpr std::size_t kMebibyte = 1024 * 1024;
    WriteQueue queue;
    append(queue, std::vector<std::string>(2, std::string(kMebibyte, 'x')));
    queue.begin();
    append(queue, {std::string(kMebibyte, 'y')});
    EXPECT_FALSE(queue.full(kMebibyte));
    EXPECT_TRUE(queue.full(kMebibyte + 1));
    queue.consume(kMebibyte + 7);
    EXPECT_EQ(queue.bytes(), 2 * kMebibyte) << "what is taken is given back at once";
    EXPECT_FALSE(queue.full(2 * kMebibyte));
}

TEST(WriteQueue, EmptyQueueTakesAMessageOfAnySize) {
    constexpr std::size_t kLarge = 20'000'000;
    WriteQueue queue;
    EXPECT_FALSE(queue.full(kLarge));
    append(queue, {"x"});
    EXPECT_TRUE(queue.full(kLarge));
    queue.begin();
    EXPECT_TRUE(queue.full(kLarge)) << "something is in flight";
    queue.consume(1);
    EXPECT_FALSE(queue.full(kLarge));
}

TEST(WriteQueue, BeginsAWriteWithoutMemory) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(100, "x"));
    const RefusedAllocations refused(1);
    EXPECT_EQ(queue.begin().size(), 16u);
}

TEST(WriteQueue, IsFullWithMoreThanAThousandWaitingStrings) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(1000, "x"));
    EXPECT_FALSE(queue.full(1));
    append(queue, {"x"});
    EXPECT_TRUE(queue.full(1));
    queue.begin();
    EXPECT_FALSE(queue.full(1));
}

TEST(WriteQueue, LoginGoesAheadOfWhatWasKeptAside) {
    WriteQueue queue;
    append(queue, {"early", "bird"});
    greet(queue, {"log", "in"});
    append(queue, {"late"});
    greet(queue, {"list"});
    append(queue, {"last"});
    EXPECT_THAT(texts(queue.begin()),
                ElementsAre("log", "in", "list", "early", "bird", "late", "last"));
}

TEST(WriteQueue, LoginIsOverWhenItIsWritten) {
    WriteQueue queue;
    greet(queue, {"a", "b"});
    queue.begin();
    append(queue, {"c"});
    greet(queue, {"d"});
    queue.consume(2);
    EXPECT_THAT(texts(queue.begin()), ElementsAre("d", "c"));
}

TEST(WriteQueue, LoginIsMeasuredApart) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(1001, "x"));
    EXPECT_TRUE(queue.full(1));
    EXPECT_FALSE(queue.loginFull());
    greet(queue, std::vector<std::string>(1001, "y"));
    EXPECT_TRUE(queue.loginFull());
}

TEST(WriteQueue, ClearDropsTheWriteInFlightAndWhatWaits) {
    WriteQueue queue;
    append(queue, std::vector<std::string>(17, "old"));
    queue.begin();
    append(queue, {"old"});
    greet(queue, {"old"});
    queue.clear();
    EXPECT_FALSE(queue.writing());
    EXPECT_FALSE(queue.waiting());
    append(queue, {"behind"});
    greet(queue, {"new"});
    EXPECT_THAT(texts(queue.begin()), ElementsAre("new", "behind"));
}
