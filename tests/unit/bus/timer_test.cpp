#include "bus/timer.h"

#include <chrono>
#include <memory>
#include <vector>

#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "loop.h"

using lumo::Timer;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

class TimerTest : public testing::Test {
  protected:
    asio::io_service io_;
    int calls_ = 0;
    std::unique_ptr<Timer> timer_ = std::make_unique<Timer>(io_, [this] { ++calls_; });

    // Lets the time of the wait pass without giving the loop a turn: the wait is then over, and
    // only its call is still to come.
    void passTime(steady_clock::duration time) {
        const auto end = steady_clock::now() + time;
        while (steady_clock::now() < end) {
        }
    }
};

}  // namespace

TEST_F(TimerTest, CallsOnceWhenTheTimeIsUp) {
    const auto begin = steady_clock::now();
    timer_->arm(20ms);
    EXPECT_TRUE(timer_->armed());
    io_.run();
    EXPECT_GE(steady_clock::now() - begin, 20ms);
    EXPECT_EQ(calls_, 1);
    EXPECT_FALSE(timer_->armed());
}

TEST_F(TimerTest, CancelledWaitCallsNothing) {
    timer_->arm(1ms);
    timer_->cancel();
    EXPECT_FALSE(timer_->armed());
    io_.run();
    EXPECT_EQ(calls_, 0);
}

// Both waits are over in the same turn of the loop; the first one's call cancels the second.
TEST_F(TimerTest, WaitCancelledAfterItsTimeCallsNothing) {
    Timer first(io_, [this] { timer_->cancel(); });
    first.arm(1ms);
    timer_->arm(2ms);
    passTime(3ms);
    io_.run();
    EXPECT_EQ(calls_, 0);
}

TEST_F(TimerTest, ReplacedWaitCallsNothingAfterItsTime) {
    Timer first(io_, [this] { timer_->arm(5ms); });
    first.arm(1ms);
    timer_->arm(2ms);
    passTime(3ms);
    io_.run();
    EXPECT_EQ(calls_, 1);
}

TEST_F(TimerTest, DestroyedAfterItsTimeCallsNothing) {
    Timer first(io_, [this] { timer_.reset(); });
    first.arm(1ms);
    timer_->arm(2ms);
    passTime(3ms);
    io_.run();
    EXPECT_EQ(calls_, 0);
}

TEST_F(TimerTest, MayArmItselfAgain) {
    Timer again(io_, [&] {
        if (++calls_ < 3) {
            again.arm(1ms);
        }
    });
    again.arm(1ms);
    io_.run();
    EXPECT_EQ(calls_, 3);
}
