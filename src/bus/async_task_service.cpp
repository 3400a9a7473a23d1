#include "bus/async_task_service.h"

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
    timer_.async_wait([this](const std::error_code& error) {
        if (!error) {
            task_();
            waitForNext();
        }
    });
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
