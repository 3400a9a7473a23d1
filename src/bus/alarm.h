#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <asio/basic_waitable_timer.hpp>
#include <asio/io_context.hpp>
#include <asio/io_service.hpp>

#include "bus/handler_memory.h"
#include "bus/unstepped_clock.h"

namespace lumo {

using ClockTimer = asio::basic_waitable_timer<UnsteppedClock, asio::wait_traits<UnsteppedClock>,
                                              asio::io_context::executor_type>;

// A wait that calls one function when it is over, once per arming.
//
// A wait that was cancelled, replaced by a new one, or whose alarm is gone calls nothing, even
// when its time was already up and only its turn in the loop was missing. Lives on the thread that
// runs the loop; its function may arm it again but not destroy it. Arming takes memory only when
// more timers of the loop wait than ever before.
class Alarm {
  public:
    Alarm(asio::io_service& io, std::function<void()> onExpiry);
    ~Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;

    // Waits `delay` from now; a wait under way is replaced.
    void arm(std::chrono::nanoseconds delay);
    void cancel();
    bool armed() const { return armed_; }

  private:
    // What the wait under way needs, also when the alarm is gone before the loop comes to it.
    struct Wait {
        explicit Wait(Alarm* owner) : alarm(owner) {}
        Alarm* alarm;  // null when it is gone
        HandlerMemory memory;
    };
    void startWaiting();
    void waitOver();

    std::function<void()> onExpiry_;
    UnsteppedClock::time_point deadline_;
    bool armed_ = false;
    bool waiting_ = false;
    std::shared_ptr<Wait> wait_;
    ClockTimer timer_;
};

}  // namespace lumo
