#include "bus/netstring_stream_parser.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "bus/netstring.h"

namespace lumo {
namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A parser with everything that it handed on, terminators included.
class Receiver {
  public:
    Receiver() {
        parser.setOnMessage([this](std::unique_ptr<std::vector<char>> payload) {
            payloads.emplace_back(payload->begin(), payload->end());
        });
    }

    void feed(const std::string& bytes) { EXPECT_EQ(parser.feed(bytes.data(), bytes.size()), 0); }

    void feedInChunks(const std::string& bytes, size_t size) {
        for (size_t begin = 0; begin < bytes.size(); begin += size) {
            feed(bytes.substr(begin, size));
        }
    }

    NetStringStreamParser parser;
    std::vector<std::string> payloads;
};

// After a length that is no length the parser skips, from its ":" on, this many bytes.
const std::string kSkipped = ":--skipped-------";
constexpr size_t kSkippedAfterSeparator = 15;

std::string skippedRest(size_t missing = 0) {
    return kSkipped.substr(1, kSkippedAfterSeparator - missing);
}

TEST(NetStringStreamParser, GivesEachPayloadOfAStreamWithANulByteBehindIt) {
    Receiver receiver;
    receiver.feed("2:ab;3:xyz;");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s, "xyz\0"s));
}

TEST(NetStringStreamParser, GivesTheSamePayloadsByteByByte) {
    Receiver receiver;
    receiver.feedInChunks("2:ab;3:xyz;", 1);
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s, "xyz\0"s));
}

TEST(NetStringStreamParser, GivesTheSamePayloadsWhereverTheStreamIsCutInTwo) {
    const std::string stream = "2:ab;3:xyz;";
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        Receiver receiver;
        receiver.feed(stream.substr(0, cut));
        receiver.feed(stream.substr(cut));
        EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s, "xyz\0"s)) << "cut at " << cut;
    }
}

TEST(NetStringStreamParser, GivesTheSamePayloadsInRandomChunks) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::vector<std::string> sent;
    std::string stream;
    for (int i = 0; i < 200; ++i) {
        std::string payload(1 + random() % 300, '\0');
        std::generate(payload.begin(), payload.end(), [&] { return ":;0123\n\0"[random() % 8]; });
        stream += encodeNetString(payload);
        sent.push_back(payload + '\0');
    }
    Receiver receiver;
    for (size_t begin = 0; begin < stream.size();) {
        const size_t size = 1 + random() % 400;
        receiver.feed(stream.substr(begin, size));
        begin += size;
    }
    EXPECT_EQ(receiver.payloads, sent);
}

TEST(NetStringStreamParser, PayloadsMayHoldEveryByte) {
    std::string payload;
    for (int byte = 0; byte < 256; ++byte) {
        payload += static_cast<char>(byte);
    }
    Receiver receiver;
    receiver.feed(encodeNetString(payload));
    EXPECT_THAT(receiver.payloads, ElementsAre(payload + '\0'));
}

TEST(NetStringStreamParser, ACompletePayloadWaitsForItsTerminator) {
    Receiver receiver;
    receiver.feed("2:ab");
    EXPECT_THAT(receiver.payloads, IsEmpty());
    receiver.feed(";");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s));
}

TEST(NetStringStreamParser, AWrongTerminatorDropsThePayloadAndShowsIt) {
    Receiver receiver;
    ::testing::internal::CaptureStderr();
    receiver.feed("2:ab,3:xyz;");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ab\n");
    EXPECT_THAT(receiver.payloads, ElementsAre("xyz\0"s));
}

TEST(NetStringStreamParser, AMisframedPayloadIsShownWithoutItsControlCharactersAndNotForEver) {
    Receiver receiver;
    ::testing::internal::CaptureStderr();
    receiver.feed("6:a\nb\x1b[J,2000:" + std::string(2000, 'x') + ",");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "a\nb\\x1b[J\n" + std::string(1024, 'x') + "... (2000 bytes)\n");
}

TEST(NetStringStreamParser, AFramingErrorGoesToItsCallbackInsteadOfStandardError) {
    Receiver receiver;
    std::vector<std::string> shown;
    receiver.parser.setOnFramingError(
        [&shown](std::string_view payload) { shown.emplace_back(payload); });
    ::testing::internal::CaptureStderr();
    receiver.feed("3:\x1b[J,3:xyz;");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(shown, ElementsAre("\x1b[J"));
    EXPECT_THAT(receiver.payloads, ElementsAre("xyz\0"s));
}

TEST(NetStringStreamParser, AWrongTerminatorIsConsumedWhateverItIs) {
    Receiver receiver;
    ::testing::internal::CaptureStderr();
    receiver.feedInChunks("2:ab93:xyz;1:q:2:cd;", 1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "ab\nq\n");
    EXPECT_THAT(receiver.payloads, ElementsAre("xyz\0"s, "cd\0"s));
}

TEST(NetStringStreamParser, AnEmptyFrameIsNoFrameAndSwallowsUpToSixteenCharacters) {
    Receiver receiver;
    receiver.feed("0:;" + skippedRest(1) + "2:ab;");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s));
}

TEST(NetStringStreamParser, WhatIsSwallowedEndsWithTheSixteenthCharacterNotBefore) {
    Receiver receiver;
    receiver.feed("0:;" + skippedRest(2) + "2:ab;");
    EXPECT_THAT(receiver.payloads, IsEmpty());
}

TEST(NetStringStreamParser, EveryUnusableLengthIsSkipped) {
    for (const std::string length :
         {"", "0", "-1", "-2", "x", "x2", "20000001", "99999999999999", "- 2", "+"}) {
        Receiver receiver;
        receiver.feed(length + ":" + skippedRest() + "2:ab;");
        EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s)) << length;
    }
}

TEST(NetStringStreamParser, LengthsAreReadMildly) {
    for (const std::string length : {"2", "+2", " 2", "\t\n2", "02", "2x", "2 ", "2;", "2.9"}) {
        Receiver receiver;
        receiver.feed(length + ":ab;");
        EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s)) << length;
    }
}

TEST(NetStringStreamParser, ALengthTextOfFifteenCharactersIsRead) {
    Receiver receiver;
    receiver.feed("000000000000007:abcdefg;");
    EXPECT_THAT(receiver.payloads, ElementsAre("abcdefg\0"s));
}

TEST(NetStringStreamParser, ALengthTextOfSixteenCharactersIsForgottenBeforeItsSeparator) {
    Receiver receiver;
    receiver.feed("0000000000000007:abcdefg;" + skippedRest(8) + "2:ab;");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s));
}

TEST(NetStringStreamParser, GarbageOfSixteenCharactersLeavesNoTrace) {
    Receiver receiver;
    receiver.feed("garbage-garbage-2:ab;");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s));
}

TEST(NetStringStreamParser, TheLongestPayloadHasTwentyMillionBytes) {
    Receiver receiver;
    receiver.feed("20000000:");
    receiver.feedInChunks(std::string(20'000'000, 'x'), 65'536);
    receiver.feed(";");
    ASSERT_EQ(receiver.payloads.size(), 1U);
    EXPECT_EQ(receiver.payloads[0].size(), 20'000'001U);
}

TEST(NetStringStreamParser, ResetForgetsALengthBegun) {
    Receiver receiver;
    receiver.feed("1");
    receiver.parser.reset();
    receiver.feed("2:ab;");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s));
}

TEST(NetStringStreamParser, ResetForgetsAPayloadBegun) {
    Receiver receiver;
    receiver.feed("5:ab");
    receiver.parser.reset();
    receiver.feed("2:cd;");
    EXPECT_THAT(receiver.payloads, ElementsAre("cd\0"s));
}

TEST(NetStringStreamParser, NothingInNothingOut) {
    Receiver receiver;
    EXPECT_EQ(receiver.parser.feed(nullptr, 5), 0);
    EXPECT_EQ(receiver.parser.feed("2:ab;", 0), 0);
    EXPECT_EQ(receiver.parser.feed(nullptr, 0), 0);
    EXPECT_THAT(receiver.payloads, IsEmpty());
}

TEST(NetStringStreamParser, WithoutAReceiverPayloadsAreDropped) {
    Receiver receiver;
    receiver.parser.setOnMessage({});
    receiver.feed("2:ab;");
    receiver.parser.setOnMessage([&](std::unique_ptr<std::vector<char>> payload) {
        receiver.payloads.emplace_back(payload->data());
    });
    receiver.feed("2:cd;");
    EXPECT_THAT(receiver.payloads, ElementsAre("cd"));
}

TEST(NetStringStreamParser, ThePayloadIsAllocatedOnceWithItsFinalCapacity) {
    NetStringStreamParser parser;
    size_t capacity = 0;
    parser.setOnMessage(
        [&](std::unique_ptr<std::vector<char>> payload) { capacity = payload->capacity(); });
    const std::string frame = encodeNetString(std::string(4096, 'x'));
    const size_t before = allocationCount();
    for (const char byte : frame) {
        parser.feed(&byte, 1);
    }
    constexpr size_t kVectorAndItsBytes = 2;
    EXPECT_EQ(allocationCount() - before, kVectorAndItsBytes);
    EXPECT_EQ(capacity, 4097U);
}

TEST(NetStringStreamParser, NoLengthTextEverAllocates) {
    Receiver receiver;
    const std::string garbage(1000, 'x');
    const size_t before = allocationCount();
    receiver.feed(garbage);
    EXPECT_EQ(allocationCount(), before);
}

// The text of the frame that gets no memory looks like frames of its own.
TEST(NetStringStreamParser, AFrameWithoutMemoryIsPassedOverAndTheNextOneRead) {
    std::string inner;
    for (int i = 0; i < 1000; ++i) {
        inner += "2:no;";
    }
    const std::string stream = encodeNetString(inner) + "2:ab;";
    for (const size_t chunk : {size_t{1}, size_t{7}, inner.size(), stream.size()}) {
        Receiver receiver;
        {
            const RefusedAllocations refused(inner.size());
            receiver.feedInChunks(stream.substr(0, 10), 10);
        }
        receiver.feedInChunks(stream.substr(10), chunk);
        EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s)) << "chunk " << chunk;
    }
}

TEST(NetStringStreamParser, AFrameWithoutMemoryAndWrongTerminatorIsPassedOverInSilence) {
    const std::string payload(2000, 'x');
    Receiver receiver;
    ::testing::internal::CaptureStderr();
    {
        const RefusedAllocations refused(payload.size());
        receiver.feed("2000:");
    }
    receiver.feed(payload + ",2:ab;");
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_THAT(receiver.payloads, ElementsAre("ab\0"s));
}

TEST(NetStringStreamParser, AReceiverMayResetTheParser) {
    NetStringStreamParser parser;
    std::vector<std::string> payloads;
    parser.setOnMessage([&](std::unique_ptr<std::vector<char>> payload) {
        payloads.emplace_back(payload->data());
        parser.reset();
    });
    parser.feed("2:ab;2:cd;", 10);
    EXPECT_THAT(payloads, ElementsAre("ab", "cd"));
}

TEST(NetStringStreamParser, AReceiverThatThrowsLeavesTheParserReady) {
    Receiver receiver;
    const auto collect = [&](std::unique_ptr<std::vector<char>> payload) {
        receiver.payloads.emplace_back(payload->data());
    };
    receiver.parser.setOnMessage(
        [](std::unique_ptr<std::vector<char>>) { throw std::runtime_error("refused"); });
    EXPECT_THROW(receiver.parser.feed("2:ab;", 5), std::runtime_error);
    receiver.parser.setOnMessage(collect);
    receiver.feed("2:cd;");
    EXPECT_THAT(receiver.payloads, ElementsAre("cd"));
}

// A parser between frames that already holds a buffer, as no input makes it.
class BrokenParser : public NetStringStreamParser {
  public:
    BrokenParser() {
        const std::string held = "held";
        buffer_ = std::make_unique<std::vector<char>>(held.begin(), held.end());
    }
};

TEST(NetStringStreamParserDeathTest, AFrameInsideAFrameEndsTheProcessWithBothTexts) {
    BrokenParser parser;
    EXPECT_EXIT(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            parser.feed("2:ab;", 5);
        },
        ::testing::KilledBySignal(SIGABRT),
        "recv_buffer not empty. WHY\\?\nheader=2:ab;\nrecv_buffer = \nheld\n");
}

}  // namespace
}  // namespace lumo
