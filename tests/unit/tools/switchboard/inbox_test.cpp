#include "switchboard/inbox.h"

#include <gtest/gtest.h>

namespace pallbus {
namespace {

using namespace std::chrono_literals;

Inbox::Payload payload(char letter) {
    return std::make_unique<std::vector<char>>(3, letter);
}

// The letters of those that are taken at that time.
std::string taken(Inbox& box, Inbox::Clock::time_point now) {
    std::string letters;
    while (const Inbox::Payload next = box.take(now)) {
        letters += next->front();
    }
    return letters;
}

class InboxTest : public testing::Test {
  protected:
    const Inbox::Clock::time_point now_ = Inbox::Clock::time_point() + 1h;
    Inbox box_;
};

TEST_F(InboxTest, HandsOutWhatHasWaitedLongEnough) {
    EXPECT_TRUE(box_.isEmpty());
    box_.push(payload('a'), now_ + 1s);
    box_.push(payload('b'), now_ + 2s);
    EXPECT_EQ(box_.nextDue(), now_ + 1s);
    EXPECT_EQ(taken(box_, now_ + 999ms), "");
    EXPECT_EQ(taken(box_, now_ + 1s), "a");
    EXPECT_EQ(taken(box_, now_ + 3s), "b");
    EXPECT_EQ(box_.nextDue(), std::nullopt);
}

TEST_F(InboxTest, LetsNothingOvertake) {
    box_.push(payload('a'), now_ + 1s);
    box_.push(payload('b'), now_);
    EXPECT_EQ(taken(box_, now_), "");
    EXPECT_EQ(taken(box_, now_ + 1s), "ab");
}

TEST_F(InboxTest, KnowsHowMuchItHolds) {
    box_.push(payload('a'), now_);
    box_.push(payload('b'), now_ + 1s);
    EXPECT_EQ(box_.size(), 6u);
    taken(box_, now_);
    EXPECT_EQ(box_.size(), 3u);
    box_.hurry();
    EXPECT_EQ(taken(box_, now_), "b");
    EXPECT_EQ(box_.size(), 0u);
}

}  // namespace
}  // namespace pallbus
