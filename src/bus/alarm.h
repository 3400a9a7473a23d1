#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

#include <asio/basic_waitable_timer.hpp>
#include <asio/io_context.hpp>
#include <asio/io_service.hpp>

#include "bus/unstepped_clock.h"

namespace lumo {

using ClockTimer = asio::basic_waitable_timer<UnsteppedClock, asio::wait_traits<UnsteppedClock>,
                                              asio::io_context::executor_type>;

// A wait that calls one function when it is over, once per arming.
//
// A wait that was cancelled, replaced by a new one, or whose alarm is gone calls nothing, even
// when its time was already up and only its turn in the loop was missing. Lives on the thread that
// runs the loop; its function may arm it again but not destroy it.
class Alarm {
  public:
    Alarm(asio::io_service& io, std::function<void()> onExpiry);
    ~Alarm() { cancel(); }
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    // Waits `delay` from now; a wait under way is replaced.
    void arm(std::chrono::nanoseconds delay);
    void cancel();
    bool armed() const { return armed_; }

  private:
    std::function<void()> onExpiry_;
    std::shared_ptr<std::uint64_t> turn_ = std::make_shared<std::uint64_t>(0);
    bool armed_ = false;
    ClockTimer timer_;
};

}  // namespace lumo
