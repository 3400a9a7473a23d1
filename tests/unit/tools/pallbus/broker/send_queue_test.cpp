#include "pallbus/broker/send_queue.h"

#include <gmock/gmock.h>

namespace pallbus::broker {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

faults::Delivery delayed(std::chrono::milliseconds time) {
    faults::Delivery delivery;
    delivery.delay = time;
    return delivery;
}

faults::Delivery coalesced(size_t count) {
    faults::Delivery delivery;
    delivery.coalesced = count;
    return delivery;
}

faults::Delivery fragmented() {
    faults::Delivery delivery;
    delivery.fragmented = true;
    return delivery;
}

faults::Delivery truncated() {
    faults::Delivery delivery;
    delivery.truncated = true;
    return delivery;
}

class SendQueueTest : public testing::Test {
  protected:
    void push(const char* frame, const faults::Delivery& delivery = {}) {
        queue_.push(frame, delivery, now_);
    }

    // The segments that leave now.
    std::vector<std::string> taken() {
        std::vector<std::string> segments;
        for (std::string segment; queue_.take(segment, now_);) {
            segments.push_back(segment);
        }
        return segments;
    }

    SendQueue::Clock::time_point now_ = SendQueue::Clock::time_point() + 1h;
    SendQueue queue_;
};

TEST_F(SendQueueTest, IsEmptyAtFirst) {
    EXPECT_THAT(taken(), IsEmpty());
    EXPECT_EQ(queue_.nextDue(), std::nullopt);
    EXPECT_EQ(queue_.size(), 0u);
    EXPECT_FALSE(queue_.isTruncated());
}

TEST_F(SendQueueTest, WhatMayLeaveTogetherDoes) {
    push("one;");
    now_ += 1ms;
    push("two;");
    EXPECT_EQ(queue_.size(), 8u);
    EXPECT_THAT(taken(), ElementsAre("one;two;"));
    EXPECT_EQ(queue_.size(), 0u);
    push("three;");
    EXPECT_THAT(taken(), ElementsAre("three;"));
}

TEST_F(SendQueueTest, NothingLeavesBeforeItsTime) {
    push("late;", delayed(20ms));
    EXPECT_EQ(queue_.nextDue(), now_ + 20ms);
    now_ += 19ms;
    EXPECT_THAT(taken(), IsEmpty());
    now_ += 1ms;
    EXPECT_THAT(taken(), ElementsAre("late;"));
    EXPECT_EQ(queue_.nextDue(), std::nullopt);
}

TEST_F(SendQueueTest, NothingOvertakes) {
    push("first;", delayed(20ms));
    push("second;");
    EXPECT_THAT(taken(), IsEmpty());
    now_ += 20ms;
    EXPECT_THAT(taken(), ElementsAre("first;second;"));
}

TEST_F(SendQueueTest, WhatIsLateDoesNotLeaveWithWhatIsNot) {
    push("now;");
    push("late;", delayed(20ms));
    EXPECT_THAT(taken(), ElementsAre("now;"));
    EXPECT_EQ(queue_.size(), 5u);
    now_ += 1s;
    EXPECT_THAT(taken(), ElementsAre("late;"));
}

TEST_F(SendQueueTest, FragmentedLeavesByteByByte) {
    push("whole;");
    push("ab;", fragmented());
    push("c;", fragmented());
    push("rest;");
    EXPECT_THAT(taken(), ElementsAre("whole;", "a", "b", ";", "c", ";", "rest;"));
    EXPECT_EQ(queue_.size(), 0u);
}

TEST_F(SendQueueTest, ForgetsWhatHasLeftByteByByteWhileMoreIsAdded) {
    const std::string much(SendQueue::kKeptCapacity, 'a');
    push((much + "b").c_str(), fragmented());
    std::string segment;
    for (size_t i = 0; i < much.size(); ++i) {
        ASSERT_TRUE(queue_.take(segment, now_));
        ASSERT_EQ(segment, "a");
    }
    push("c", fragmented());
    EXPECT_THAT(taken(), ElementsAre("b", "c"));
}

TEST_F(SendQueueTest, CoalescedLeaveTogetherWhenAllAreThere) {
    push("one;", coalesced(3));
    now_ += 100ms;
    push("two;", coalesced(3));
    EXPECT_THAT(taken(), IsEmpty());
    push("three;", coalesced(3));
    push("four;", coalesced(3));
    EXPECT_THAT(taken(), ElementsAre("one;two;three;"));
    EXPECT_EQ(queue_.nextDue(), now_ + SendQueue::kCoalesceTimeout);
}

TEST_F(SendQueueTest, CoalescedWaitForTheRestUntilATimeout) {
    push("one;", coalesced(3));
    push("two;", coalesced(3));
    now_ += SendQueue::kCoalesceTimeout;
    EXPECT_THAT(taken(), ElementsAre("one;two;"));
}

TEST_F(SendQueueTest, HalfAMessageIsTheLastThingThatLeaves) {
    push("one;");
    push("12345678", truncated());
    push("never;");
    EXPECT_FALSE(queue_.isTruncated()) << "not before it was taken";
    EXPECT_THAT(taken(), ElementsAre("one;1234"));
    EXPECT_TRUE(queue_.isTruncated());
    push("never;");
    EXPECT_THAT(taken(), IsEmpty());
}

TEST_F(SendQueueTest, FlushingMakesEverythingDue) {
    push("one;", delayed(1h));
    push("two;", coalesced(9));
    queue_.flushDelayed();
    EXPECT_THAT(taken(), ElementsAre("one;", "two;"));
    push("three;", coalesced(2));
    EXPECT_THAT(taken(), IsEmpty()) << "what comes later waits again";
}

}  // namespace
}  // namespace pallbus::broker
