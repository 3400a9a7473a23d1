#include "bus/alarm.h"

#include <chrono>
#include <memory>
#include <vector>

#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "loop.h"

using lumo::Alarm;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

class AlarmTest : public testing::Test {
  protected:
    asio::io_service io_;
    int calls_ = 0;
    std::unique_ptr<Alarm> alarm_ = std::make_unique<Alarm>(io_, [this] { ++calls_; });

    // Lets the time of the wait pass without giving the loop a turn: the wait is then over, and
    // only its call is still to come.
    void passTime(steady_clock::duration time) {
        const auto end = steady_clock::now() + time;
        while (steady_clock::now() < end) {
        }
    }
};

}  // namespace

TEST_F(AlarmTest, CallsOnceWhenTheTimeIsUp) {
    const auto begin = steady_clock::now();
    alarm_->arm(20ms);
    EXPECT_TRUE(alarm_->armed());
    io_.run();
    EXPECT_GE(steady_clock::now() - begin, 20ms);
    EXPECT_EQ(calls_, 1);
    EXPECT_FALSE(alarm_->armed());
}

TEST_F(AlarmTest, CancelledWaitCallsNothing) {
    alarm_->arm(1ms);
    alarm_->cancel();
    EXPECT_FALSE(alarm_->armed());
    io_.run();
    EXPECT_EQ(calls_, 0);
}

// Both waits are over in the same turn of the loop; the first one's call cancels the second.
TEST_F(AlarmTest, WaitCancelledAfterItsTimeCallsNothing) {
    Alarm first(io_, [this] { alarm_->cancel(); });
    first.arm(1ms);
    alarm_->arm(2ms);
    passTime(3ms);
    io_.run();
    EXPECT_EQ(calls_, 0);
}

TEST_F(AlarmTest, ReplacedWaitCallsNothingAfterItsTime) {
    Alarm first(io_, [this] { alarm_->arm(5ms); });
    first.arm(1ms);
    alarm_->arm(2ms);
    passTime(3ms);
    io_.run();
    EXPECT_EQ(calls_, 1);
}

TEST_F(AlarmTest, DestroyedAfterItsTimeCallsNothing) {
    Alarm first(io_, [this] { alarm_.reset(); });
    first.arm(1ms);
    alarm_->arm(2ms);
    passTime(3ms);
    io_.run();
    EXPECT_EQ(calls_, 0);
}

TEST_F(AlarmTest, MayArmItselfAgain) {
    Alarm again(io_, [&] {
        if (++calls_ < 3) {
            again.arm(1ms);
        }
    });
    again.arm(1ms);
    io_.run();
    EXPECT_EQ(calls_, 3);
}
