#include "bus/async_task_service.h"

#include <new>
#include <system_error>
#include <utility>

#include "util/log.h"

namespace lumo {

namespace {

constexpr std::chrono::seconds kTriedFor{5};
constexpr std::chrono::milliseconds kBetweenTries{100};

bool hasNoThreadNow(const std::system_error& error) {
    return error.code() == std::errc::resource_unavailable_try_again;
}

}  // namespace

void AsyncTaskService::setPeriodicTask(std::chrono::milliseconds period,
                                       std::function<void()> task) {
    period_ = period;
    task_ = std::move(task);
    deadline_ = MonotonicWallClock::now();
    waitForNext();
}

void AsyncTaskService::waitForNext() {
    deadline_ += period_;
    timer_.expires_at(deadline_);
    timer_.async_wait(HandlerInMemory(memory_, [this](const std::error_code& error) {
        if (!error) {
            runTask();
            waitForNext();
        }
    }));
}

void AsyncTaskService::runTask() {
    try {
        task_();
    } catch (const std::bad_alloc&) {
        // The next run finds the changes that this one missed.
    }
}

// While a frame starts, all its programs do, and a shortage of threads passes in a moment.
void AsyncTaskService::start() {
    const auto end = std::chrono::steady_clock::now() + kTriedFor;
    bool reported = false;
    while (!thread_.joinable()) {
        try {
            thread_ = std::thread([this] { io_.run(); });
        } catch (const std::system_error& error) {
            if (!hasNoThreadNow(error) || std::chrono::steady_clock::now() >= end) {
                throw;
            }
            if (!std::exchange(reported, true)) {
                util::logMessage(LOG_WARNING, "no thread to be had, trying again\n");
            }
            std::this_thread::sleep_for(kBetweenTries);
        }
    }
}

void AsyncTaskService::stop() {
    io_.stop();
    if (thread_.joinable()) {
        thread_.join();
    }
}

}  // namespace lumo
