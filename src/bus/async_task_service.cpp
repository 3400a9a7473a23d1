#include "bus/async_task_service.h"

#include <new>
#include <system_error>
#include <utility>

namespace lumo {

void AsyncTaskService::setPeriodicTask(std::chrono::milliseconds period,
                                       std::function<void()> task) {
    period_ = period;
    task_ = std::move(task);
    deadline_ = UnsteppedClock::now();
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
        // What one run has missed the next one finds.
    }
}

void AsyncTaskService::start() {
    thread_ = std::thread([this] { io_.run(); });
}

void AsyncTaskService::stop() {
    io_.stop();
    if (thread_.joinable()) {
        thread_.join();
    }
}

}  // namespace lumo
