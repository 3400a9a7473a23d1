#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace pallbus::broker {

// Payloads from one client that a delay keeps from the broker, in the order in which they arrived:
// none overtakes another. Has no clock of its own. Used by one thread.
class ReceiveQueue {
  public:
    using Clock = std::chrono::steady_clock;
    using Payload = std::unique_ptr<std::vector<char>>;

    void push(Payload payload, Clock::time_point due) {
        size_ += payload->size();
        waiting_.push_back({due, std::move(payload)});
    }

    // The next payload that is due; null when there is none.
    Payload take(Clock::time_point now) {
        if (waiting_.empty() || waiting_.front().due > now) {
            return nullptr;
        }
        Payload payload = std::move(waiting_.front().payload);
        waiting_.pop_front();
        size_ -= payload->size();
        return payload;
    }

    // When the next payload is due; empty when the queue is.
    std::optional<Clock::time_point> nextDue() const {
        return waiting_.empty() ? std::nullopt : std::optional(waiting_.front().due);
    }
    // Makes everything due now.
    void flushDelayed() {
        for (Waiting& each : waiting_) {
            each.due = {};
        }
    }
    bool isEmpty() const { return waiting_.empty(); }
    size_t size() const { return size_; }  // bytes

  private:
    struct Waiting {
        Clock::time_point due;
        Payload payload;
    };

    std::deque<Waiting> waiting_;
    size_t size_ = 0;
};

}  // namespace pallbus::broker
