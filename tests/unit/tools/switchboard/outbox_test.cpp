#include "switchboard/outbox.h"

#include <gmock/gmock.h>

namespace pallbus {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

Fate delayed(std::chrono::milliseconds time) {
    Fate fate;
    fate.delay = time;
    return fate;
}

Fate joined(size_t count) {
    Fate fate;
    fate.joined = count;
    return fate;
}

Fate split() {
    Fate fate;
    fate.split = true;
    return fate;
}

Fate cut() {
    Fate fate;
    fate.cut = true;
    return fate;
}

class OutboxTest : public testing::Test {
  protected:
    void push(const char* frame, const Fate& fate = {}) { box_.push(frame, fate, now_); }

    // The segments that leave now.
    std::vector<std::string> taken() {
        std::vector<std::string> segments;
        for (std::string segment; box_.take(segment, now_);) {
            segments.push_back(segment);
        }
        return segments;
    }

    Outbox::Clock::time_point now_ = Outbox::Clock::time_point() + 1h;
    Outbox box_;
};

TEST_F(OutboxTest, IsEmptyAtFirst) {
    EXPECT_THAT(taken(), IsEmpty());
    EXPECT_EQ(box_.nextDue(), std::nullopt);
    EXPECT_EQ(box_.size(), 0u);
    EXPECT_FALSE(box_.isCutOff());
}

TEST_F(OutboxTest, WhatMayLeaveTogetherDoes) {
    push("one;");
    now_ += 1ms;
    push("two;");
    EXPECT_EQ(box_.size(), 8u);
    EXPECT_THAT(taken(), ElementsAre("one;two;"));
    EXPECT_EQ(box_.size(), 0u);
    push("three;");
    EXPECT_THAT(taken(), ElementsAre("three;"));
}

TEST_F(OutboxTest, NothingLeavesBeforeItsTime) {
    push("late;", delayed(20ms));
    EXPECT_EQ(box_.nextDue(), now_ + 20ms);
    now_ += 19ms;
    EXPECT_THAT(taken(), IsEmpty());
    now_ += 1ms;
    EXPECT_THAT(taken(), ElementsAre("late;"));
    EXPECT_EQ(box_.nextDue(), std::nullopt);
}

TEST_F(OutboxTest, NothingOvertakes) {
    push("first;", delayed(20ms));
    push("second;");
    EXPECT_THAT(taken(), IsEmpty());
    now_ += 20ms;
    EXPECT_THAT(taken(), ElementsAre("first;second;"));
}

TEST_F(OutboxTest, WhatIsLateDoesNotLeaveWithWhatIsNot) {
    push("now;");
    push("late;", delayed(20ms));
    EXPECT_THAT(taken(), ElementsAre("now;"));
    EXPECT_EQ(box_.size(), 5u);
    now_ += 1s;
    EXPECT_THAT(taken(), ElementsAre("late;"));
}

TEST_F(OutboxTest, SplitLeavesByteByByte) {
    push("whole;");
    push("ab;", split());
    push("c;", split());
    push("rest;");
    EXPECT_THAT(taken(), ElementsAre("whole;", "a", "b", ";", "c", ";", "rest;"));
    EXPECT_EQ(box_.size(), 0u);
}

TEST_F(OutboxTest, ForgetsWhatHasLeftByteByByteWhileMoreIsAdded) {
    const std::string much(Outbox::kKeptCapacity, 'a');
    push((much + "b").c_str(), split());
    std::string segment;
    for (size_t i = 0; i < much.size(); ++i) {
        ASSERT_TRUE(box_.take(segment, now_));
        ASSERT_EQ(segment, "a");
    }
    push("c", split());
    EXPECT_THAT(taken(), ElementsAre("b", "c"));
}

TEST_F(OutboxTest, JoinedLeaveTogetherWhenAllAreThere) {
    push("one;", joined(3));
    now_ += 100ms;
    push("two;", joined(3));
    EXPECT_THAT(taken(), IsEmpty());
    push("three;", joined(3));
    push("four;", joined(3));
    EXPECT_THAT(taken(), ElementsAre("one;two;three;"));
    EXPECT_EQ(box_.nextDue(), now_ + Outbox::kJoinPatience);
}

TEST_F(OutboxTest, JoinedWaitForTheRestOnlySoLong) {
    push("one;", joined(3));
    push("two;", joined(3));
    now_ += Outbox::kJoinPatience;
    EXPECT_THAT(taken(), ElementsAre("one;two;"));
}

TEST_F(OutboxTest, HalfAMessageIsTheLastThingThatLeaves) {
    push("one;");
    push("12345678", cut());
    push("never;");
    EXPECT_FALSE(box_.isCutOff()) << "not before it was taken";
    EXPECT_THAT(taken(), ElementsAre("one;1234"));
    EXPECT_TRUE(box_.isCutOff());
    push("never;");
    EXPECT_THAT(taken(), IsEmpty());
}

TEST_F(OutboxTest, WhatWaitsCanBeHurried) {
    push("one;", delayed(1h));
    push("two;", joined(9));
    box_.hurry();
    EXPECT_THAT(taken(), ElementsAre("one;", "two;"));
    push("three;", joined(2));
    EXPECT_THAT(taken(), IsEmpty()) << "what comes later waits again";
}

}  // namespace
}  // namespace pallbus
