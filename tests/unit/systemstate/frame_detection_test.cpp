#include "systemstate/frame_detection.h"

#include <gmock/gmock.h>

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(FrameDetection, NothingWithoutABlock) {
    EXPECT_FALSE(decodeFrameDetection({}));
}

TEST(FrameDetection, ReadsTheFourIntegers) {
    const auto frame = decodeFrameDetection(
        decodeBlockFile("Frame Type: 2\nFrame Size: 5\nSlot Count: 16\nPL Rev: 33\n"));
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->frameType, 2);
    EXPECT_EQ(frame->frameSize, 5);
    EXPECT_EQ(frame->slotCount, 16);
    EXPECT_EQ(frame->plRevision, 33);
    EXPECT_THAT(frame->unread, IsEmpty());
}

TEST(FrameDetection, OnlyTheFirstBlockCounts) {
    const auto frame = decodeFrameDetection(decodeBlockFile("Frame Size: 5\n\nFrame Type: 2\n"));
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->frameType, -1);
    EXPECT_EQ(frame->frameSize, 5);
}

TEST(FrameDetection, MissingKeysAreUnknownWithoutComplaint) {
    const auto frame = decodeFrameDetection(decodeBlockFile("Frame Type: 0\n"));
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->frameType, 0);
    EXPECT_EQ(frame->frameSize, -1);
    EXPECT_EQ(frame->slotCount, -1);
    EXPECT_EQ(frame->plRevision, -1);
    EXPECT_THAT(frame->unread, IsEmpty());
}

TEST(FrameDetection, ValuesThatAreNoIntegersAreMissingAndReported) {
    const auto frame = decodeFrameDetection(
        decodeBlockFile("Frame Type: big\nFrame Size:\nSlot Count: 99999999999\nPL Rev: b\n"));
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->frameType, -1);
    EXPECT_EQ(frame->frameSize, -1);
    EXPECT_EQ(frame->slotCount, -1);
    EXPECT_EQ(frame->plRevision, -1);
    EXPECT_THAT(
        frame->unread,
        ElementsAre(UnreadInteger{"Frame Type", "big"}, UnreadInteger{"Frame Size", ""},
                    UnreadInteger{"Slot Count", "99999999999"}, UnreadInteger{"PL Rev", "b"}));
}

TEST(FrameDetection, NegativeFrameTypeIsReadAsItStands) {
    const auto frame = decodeFrameDetection(decodeBlockFile("Frame Type: -7\n"));
    ASSERT_TRUE(frame.has_value());
    EXPECT_EQ(frame->frameType, -7);
    EXPECT_THAT(frame->unread, IsEmpty());
}

}  // namespace

}  // namespace systemstate
