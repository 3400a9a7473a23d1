#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "pallbus/faults/fault_rule.h"

namespace pallbus::broker {

// The bytes on their way to one client, in order, cut into TCP segments with the time before which
// each segment does not leave. Frames that may share a segment do. Has no socket and no clock of
// its own. Used by one thread.
class SendQueue {
  public:
    using Clock = std::chrono::steady_clock;

    // A buffer that grew beyond this for a large frame is released afterwards.
    static constexpr size_t kKeptCapacity = size_t{1024} * 1024;
    // How long a coalesced segment waits for its remaining messages.
    static constexpr std::chrono::milliseconds kCoalesceTimeout{1000};

    // Ignores everything after a truncated message. Does not look at delivery.dropped and
    // delivery.corruptedBytes.
    void push(std::string_view frame, const faults::Delivery& delivery, Clock::time_point now);

    // Replaces `segment` by the next one that is due, reusing its memory. False when none is.
    bool take(std::string& segment, Clock::time_point now);
    // Whether the next segment is a single byte that must not be merged with others.
    bool isFragmentNext() const { return !pieces_.empty() && pieces_.front().fragmented; }
    // When the next segment is due; empty when the queue is.
    std::optional<Clock::time_point> nextDue() const;
    // Makes everything due now.
    void flushDelayed();
    // The half of a truncated message was taken: the connection has to close.
    bool isTruncated() const { return truncated_ && pieces_.empty(); }

    size_t size() const { return size_; }  // bytes

  private:
    // Bytes that leave together, or one by one if fragmented.
    struct Piece {
        Clock::time_point due;
        std::string bytes;
        bool fragmented = false;
        size_t coalesced = 0;  // messages to wait for; 0: none
        size_t messages = 0;   // messages so far
    };

    Piece& pieceFor(const faults::Delivery& delivery, Clock::time_point now);
    void takeByte(std::string& segment);

    std::deque<Piece> pieces_;
    std::string spare_;  // memory for the next piece
    size_t taken_ = 0;   // bytes of the first piece, if it is fragmented
    size_t size_ = 0;
    bool truncated_ = false;
};

}  // namespace pallbus::broker
