#include "bus/alarm.h"

#include <system_error>
#include <utility>

namespace lumo {

Alarm::Alarm(asio::io_service& io, std::function<void()> onExpiry)
    : onExpiry_(std::move(onExpiry)), timer_(io) {}

void Alarm::arm(std::chrono::nanoseconds delay) {
    const std::uint64_t mine = ++*turn_;
    armed_ = true;
    timer_.expires_after(delay);
    // The turn is held apart from the alarm, which may be gone when the loop comes to this wait.
    timer_.async_wait([this, mine, turn = turn_](const std::error_code& error) {
        if (error || mine != *turn) {
            return;
        }
        armed_ = false;
        onExpiry_();
    });
}

void Alarm::cancel() {
    ++*turn_;
    armed_ = false;
    timer_.cancel();
}

}  // namespace lumo
