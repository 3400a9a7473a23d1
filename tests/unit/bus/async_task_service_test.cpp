#include "bus/async_task_service.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <vector>

#include <asio/post.hpp>
#include <gmock/gmock.h>

#include "support/captured_log.h"
#include "system_calls.h"

using lumo::AsyncTaskService;
using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

// Notes when it is called; the first calls take as long as they are told to.
class Diary {
  public:
    explicit Diary(std::size_t enough) : enough_(enough) {}

    void write(steady_clock::duration busy = {}) {
        const std::lock_guard lock(mutex_);
        entries_.push_back(steady_clock::now());
        std::this_thread::sleep_for(busy);
        if (entries_.size() == enough_) {
            full_.set_value();
        }
    }
    // False when the calls do not come.
    bool wait() { return full_.get_future().wait_for(20s) == std::future_status::ready; }
    std::vector<steady_clock::time_point> entries() const {
        const std::lock_guard lock(mutex_);
        return entries_;
    }

  private:
    const std::size_t enough_;
    std::promise<void> full_;
    mutable std::mutex mutex_;
    std::vector<steady_clock::time_point> entries_;
};

}  // namespace

TEST(AsyncTaskService, RunsTheTaskOnItsOwnThread) {
    AsyncTaskService service;
    std::promise<std::thread::id> runner;
    std::atomic<int> runs = 0;
    service.setPeriodicTask(1ms, [&] {
        if (runs++ == 0) {
            runner.set_value(std::this_thread::get_id());
        }
    });
    service.start();
    std::future<std::thread::id> id = runner.get_future();
    ASSERT_EQ(id.wait_for(20s), std::future_status::ready);
    EXPECT_NE(id.get(), std::this_thread::get_id());
}

TEST(AsyncTaskService, FirstRunComesOnePeriodAfterTheTaskWasSet) {
    AsyncTaskService service;
    Diary diary(1);
    const auto begin = steady_clock::now();
    service.setPeriodicTask(50ms, [&] { diary.write(); });
    service.start();
    ASSERT_TRUE(diary.wait());
    EXPECT_GE(diary.entries()[0] - begin, 50ms);
}

TEST(AsyncTaskService, RunsStayAtMultiplesOfThePeriod) {
    AsyncTaskService service;
    Diary diary(6);
    const auto begin = steady_clock::now();
    service.setPeriodicTask(100ms, [&] { diary.write(50ms); });
    service.start();
    ASSERT_TRUE(diary.wait());
    service.stop();
    const auto entries = diary.entries();
    steady_clock::duration lag = 1h;
    for (std::size_t run = 0; run < 6; ++run) {
        const auto late = entries[run] - begin - static_cast<int>(run + 1) * 100ms;
        EXPECT_GE(late, 0ms) << run;
        lag = run >= 3 ? std::min<steady_clock::duration>(lag, late) : lag;
    }
    // A delay after each run, instead of a rate, would have them late by 150 ms and more. A busy
    // machine delays single runs only.
    EXPECT_LT(lag, 100ms);
}

TEST(AsyncTaskService, RunsThatALongOneDelayedFollowItAtOnce) {
    AsyncTaskService service;
    Diary diary(4);
    std::atomic<bool> first = true;
    const auto begin = steady_clock::now();
    service.setPeriodicTask(100ms, [&] { diary.write(first.exchange(false) ? 350ms : 0ms); });
    service.start();
    ASSERT_TRUE(diary.wait());
    service.stop();
    const auto entries = diary.entries();
    // Due at 100, 200, 300 and 400 ms; the first lasts until 450 ms or later.
    for (std::size_t run = 1; run < 4; ++run) {
        EXPECT_GE(entries[run] - begin, 450ms) << run;
    }
    EXPECT_LT(entries[3] - entries[1], 100ms);
}

TEST(AsyncTaskService, StopWaitsForTheRunningTaskAndEndsTheSeries) {
    AsyncTaskService service;
    std::promise<void> entered;
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    service.setPeriodicTask(1ms, [&] {
        if (begun++ == 0) {
            entered.set_value();
        }
        std::this_thread::sleep_for(20ms);
        ++ended;
    });
    service.start();
    ASSERT_EQ(entered.get_future().wait_for(20s), std::future_status::ready);
    service.stop();
    const int runs = begun;
    EXPECT_EQ(ended, runs);
    service.stop();
    EXPECT_EQ(begun, runs);
}

TEST(AsyncTaskService, DestructorStopsAndJoins) {
    std::promise<void> entered;
    std::atomic<int> begun = 0;
    std::atomic<int> ended = 0;
    {
        AsyncTaskService service;
        service.setPeriodicTask(1ms, [&] {
            if (begun++ == 0) {
                entered.set_value();
            }
            std::this_thread::sleep_for(20ms);
            ++ended;
        });
        service.start();
        ASSERT_EQ(entered.get_future().wait_for(20s), std::future_status::ready);
    }
    EXPECT_EQ(ended, begun);
}

TEST(AsyncTaskService, TaskThatIsSetAgainReplacesTheSeries) {
    AsyncTaskService service;
    Diary diary(2);
    std::atomic<int> replaced = 0;
    const auto begin = steady_clock::now();
    service.setPeriodicTask(1ms, [&] { ++replaced; });
    service.setPeriodicTask(30ms, [&] { diary.write(); });
    service.start();
    ASSERT_TRUE(diary.wait());
    EXPECT_EQ(replaced, 0);
    EXPECT_GE(diary.entries()[0] - begin, 30ms);
    EXPECT_GE(diary.entries()[1] - begin, 60ms);
}

TEST(AsyncTaskService, StopsBeforeItWasStartedAndWithoutATask) {
    AsyncTaskService idle;
    idle.stop();
    AsyncTaskService empty;
    empty.start();
    empty.stop();
}

TEST(AsyncTaskService, RunsWhatIsPostedToItsService) {
    AsyncTaskService service;
    std::promise<void> ran;
    asio::post(service.io(), [&] { ran.set_value(); });
    service.start();
    EXPECT_EQ(ran.get_future().wait_for(20s), std::future_status::ready);
}

TEST(AsyncTaskService, TriesAgainWhenThereIsNoThreadToBeHad) {
    CapturedLog log;
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::createThread, EAGAIN);
    AsyncTaskService service;
    Diary diary(1);
    service.setPeriodicTask(1ms, [&] { diary.write(); });
    service.start();
    EXPECT_TRUE(diary.wait());
    service.stop();
    EXPECT_EQ(calls.count(SystemCall::createThread), 2);
    EXPECT_THAT(log.take(), testing::ElementsAre(CapturedLog::Line{
                                LOG_WARNING, "no thread to be had, trying again\n"}));
}

TEST(AsyncTaskService, AThreadThatIsForbiddenIsAnError) {
    WatchedSystemCalls calls;
    calls.failNext(SystemCall::createThread, EPERM);
    AsyncTaskService service;
    EXPECT_THROW(service.start(), std::system_error);
    EXPECT_EQ(calls.count(SystemCall::createThread), 1);
}
