#include "bus/timer.h"

#include <system_error>
#include <utility>

namespace lumo {

Timer::Timer(asio::io_service& io, std::function<void()> onExpiry)
    : onExpiry_(std::move(onExpiry)),
      wait_(std::make_shared<SharedOperation<Timer>>(this)),
      waitable_(io) {}

Timer::~Timer() {
    wait_->owner = nullptr;
}

// There is one wait at a time, in memory that it shares with this object. A new deadline ends that
// wait, which then begins again.
void Timer::arm(std::chrono::nanoseconds delay) {
    deadline_ =
        MonotonicWallClock::now() + std::chrono::duration_cast<MonotonicWallClock::duration>(delay);
    if (waiting_) {
        waitable_.cancel();
    } else {
        startWaiting();
    }
    armed_ = true;
}

void Timer::cancel() {
    armed_ = false;
    waitable_.cancel();
}

void Timer::startWaiting() {
    waitable_.expires_at(deadline_);
    waitable_.async_wait(HandlerInMemory(wait_->memory, [wait = wait_](const std::error_code&) {
        if (wait->owner != nullptr) {
            wait->owner->waitOver();
        }
    }));
    waiting_ = true;
}

void Timer::waitOver() {
    waiting_ = false;
    if (!armed_) {
        return;
    }
    if (MonotonicWallClock::now() < deadline_) {
        startWaiting();
        return;
    }
    armed_ = false;
    onExpiry_();
}

}  // namespace lumo
