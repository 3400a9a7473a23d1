#include "pallbus/broker/receive_queue.h"

#include <gtest/gtest.h>

namespace pallbus::broker {
namespace {

using namespace std::chrono_literals;

ReceiveQueue::Payload payload(char letter) {
    return std::make_unique<std::vector<char>>(3, letter);
}

// The letters of those that are taken at that time.
std::string taken(ReceiveQueue& box, ReceiveQueue::Clock::time_point now) {
    std::string letters;
    while (const ReceiveQueue::Payload next = box.take(now)) {
        letters += next->front();
    }
    return letters;
}

class ReceiveQueueTest : public testing::Test {
  protected:
    const ReceiveQueue::Clock::time_point now_ = ReceiveQueue::Clock::time_point() + 1h;
    ReceiveQueue queue_;
};

TEST_F(ReceiveQueueTest, HandsOutWhatHasWaitedLongEnough) {
    EXPECT_TRUE(queue_.isEmpty());
    queue_.push(payload('a'), now_ + 1s);
    queue_.push(payload('b'), now_ + 2s);
    EXPECT_EQ(queue_.nextDue(), now_ + 1s);
    EXPECT_EQ(taken(queue_, now_ + 999ms), "");
    EXPECT_EQ(taken(queue_, now_ + 1s), "a");
    EXPECT_EQ(taken(queue_, now_ + 3s), "b");
    EXPECT_EQ(queue_.nextDue(), std::nullopt);
}

TEST_F(ReceiveQueueTest, LetsNothingOvertake) {
    queue_.push(payload('a'), now_ + 1s);
    queue_.push(payload('b'), now_);
    EXPECT_EQ(taken(queue_, now_), "");
    EXPECT_EQ(taken(queue_, now_ + 1s), "ab");
}

TEST_F(ReceiveQueueTest, KnowsHowMuchItHolds) {
    queue_.push(payload('a'), now_);
    queue_.push(payload('b'), now_ + 1s);
    EXPECT_EQ(queue_.size(), 6u);
    taken(queue_, now_);
    EXPECT_EQ(queue_.size(), 3u);
    queue_.flushDelayed();
    EXPECT_EQ(taken(queue_, now_), "b");
    EXPECT_EQ(queue_.size(), 0u);
}

}  // namespace
}  // namespace pallbus::broker
