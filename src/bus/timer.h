#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include <asio/basic_waitable_timer.hpp>
#include <asio/io_context.hpp>
#include <asio/io_service.hpp>

#include "bus/clock.h"
#include "bus/handler_memory.h"

namespace lumo {

using WaitableTimer =
    asio::basic_waitable_timer<MonotonicWallClock, asio::wait_traits<MonotonicWallClock>,
                               asio::io_context::executor_type>;

// Calls one function when a wait is over, once per arming.
//
// A wait that was cancelled, replaced by a new one, or whose timer is gone calls nothing, even
// when its time was already up and only its turn in the loop was missing. Lives on the thread that
// runs the loop; the function may arm it again but not destroy it. Arming takes memory only when
// more timers of the loop wait than ever before.
class Timer {
  public:
    Timer(asio::io_service& io, std::function<void()> onExpiry);
    ~Timer();
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    // Waits `delay` from now; a wait under way is replaced.
    void arm(std::chrono::nanoseconds delay);
    void cancel();
    bool armed() const { return armed_; }

  private:
    void startWaiting();
    void waitOver();

    std::function<void()> onExpiry_;
    MonotonicWallClock::time_point deadline_;
    bool armed_ = false;
    bool waiting_ = false;
    std::shared_ptr<SharedOperation<Timer>> wait_;
    WaitableTimer waitable_;
};

}  // namespace lumo
