#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "trouble/fate.h"

namespace pallbus {

// What is on its way to one client: bytes and the time before which they do not leave, in the order
// of their coming, cut into segments. What may leave together does, unless told otherwise. Without
// a socket and without a clock of its own. Used by one thread.
class Outbox {
  public:
    using Clock = std::chrono::steady_clock;

    // Memory that once held a larger frame is not kept for small ones.
    static constexpr size_t kKeptCapacity = size_t{1024} * 1024;
    // What is to be joined waits no longer than this for the rest.
    static constexpr std::chrono::milliseconds kJoinPatience{1000};

    // Nothing is taken in any more once a message was cut. fate.lost and fate.corrupted are not
    // looked at.
    void push(std::string_view frame, const Fate& fate, Clock::time_point now);

    // The next segment in place of what `segment` held, with whose memory it goes on. False when
    // nothing may leave yet.
    bool take(std::string& segment, Clock::time_point now);
    // Whether the next segment is a byte that nothing may be added to.
    bool isSplitNext() const { return !pieces_.empty() && pieces_.front().split; }
    // When there will be something to take; nothing when it is empty.
    std::optional<Clock::time_point> nextDue() const;
    // Nothing waits for its time any more.
    void hurry();
    // Everything up to the cut was taken: the connection is to end.
    bool isCutOff() const { return cut_ && pieces_.empty(); }

    size_t size() const { return size_; }  // bytes

  private:
    // Bytes that leave together, or one by one.
    struct Piece {
        Clock::time_point due;
        std::string bytes;
        bool split = false;
        size_t joined = 0;    // 0: nothing is joined
        size_t messages = 0;  // so far, of those
    };

    Piece& pieceFor(const Fate& fate, Clock::time_point now);
    void takeByte(std::string& segment);

    std::deque<Piece> pieces_;
    std::string spare_;  // memory for the next piece
    size_t taken_ = 0;   // of the first piece, when that leaves byte by byte
    size_t size_ = 0;
    bool cut_ = false;
};

}  // namespace pallbus
