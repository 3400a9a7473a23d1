#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace pallbus {

// Payloads that came from one client and are kept from the switchboard for a while, in the order of
// their coming: none overtakes another. Without a clock of its own. Used by one thread.
class Inbox {
  public:
    using Clock = std::chrono::steady_clock;
    using Payload = std::unique_ptr<std::vector<char>>;

    void push(Payload payload, Clock::time_point due) {
        size_ += payload->size();
        waiting_.push_back({due, std::move(payload)});
    }

    // The next one that has waited long enough; null when there is none.
    Payload take(Clock::time_point now) {
        if (waiting_.empty() || waiting_.front().due > now) {
            return nullptr;
        }
        Payload payload = std::move(waiting_.front().payload);
        waiting_.pop_front();
        size_ -= payload->size();
        return payload;
    }

    // When there will be something to take; nothing when it is empty.
    std::optional<Clock::time_point> nextDue() const {
        return waiting_.empty() ? std::nullopt : std::optional(waiting_.front().due);
    }
    // Nothing waits for its time any more.
    void hurry() {
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

}  // namespace pallbus
