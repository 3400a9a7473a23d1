#include "bus/alarm.h"

#include <system_error>
#include <utility>

namespace lumo {

Alarm::Alarm(asio::io_service& io, std::function<void()> onExpiry)
    : onExpiry_(std::move(onExpiry)), wait_(std::make_shared<Wait>(this)), timer_(io) {}

Alarm::~Alarm() {
    wait_->alarm = nullptr;
}

// The timer has one wait at a time, whose memory the alarm owns. A new deadline ends that wait,
// which then begins again.
void Alarm::arm(std::chrono::nanoseconds delay) {
    deadline_ = UnsteppedClock::now() + std::chrono::duration_cast<UnsteppedClock::duration>(delay);
    if (waiting_) {
        timer_.cancel();
    } else {
        startWaiting();
    }
    armed_ = true;
}

void Alarm::cancel() {
    armed_ = false;
    timer_.cancel();
}

void Alarm::startWaiting() {
    timer_.expires_at(deadline_);
    timer_.async_wait(HandlerInMemory(wait_->memory, [wait = wait_](const std::error_code&) {
        if (wait->alarm != nullptr) {
            wait->alarm->waitOver();
        }
    }));
    waiting_ = true;
}

void Alarm::waitOver() {
    waiting_ = false;
    if (!armed_) {
        return;
    }
    if (UnsteppedClock::now() < deadline_) {
        startWaiting();
        return;
    }
    armed_ = false;
    onExpiry_();
}

}  // namespace lumo
