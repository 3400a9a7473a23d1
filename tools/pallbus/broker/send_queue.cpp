#include "pallbus/broker/send_queue.h"

#include <algorithm>
#include <utility>

namespace pallbus::broker {

void SendQueue::push(std::string_view frame, const faults::Delivery& delivery,
                     Clock::time_point now) {
    if (truncated_) {
        return;
    }
    truncated_ = delivery.truncated;
    const std::string_view part = delivery.truncated ? frame.substr(0, frame.size() / 2) : frame;
    Piece& piece = pieceFor(delivery, now);
    piece.bytes += part;
    size_ += part.size();
    if (piece.coalesced > 0 && (++piece.messages >= piece.coalesced || truncated_)) {
        piece.due = now + delivery.delay;
        piece.coalesced = 0;
    }
}

// The last piece, when the message may leave with that, or a new one. Nothing leaves before what
// was there earlier, so a later time is only kept where it counts.
SendQueue::Piece& SendQueue::pieceFor(const faults::Delivery& delivery, Clock::time_point now) {
    Clock::time_point due = now + delivery.delay;
    if (delivery.coalesced > 0) {
        due += kCoalesceTimeout;
    }
    if (!pieces_.empty()) {
        Piece& last = pieces_.back();
        const bool sameManner =
            last.fragmented == delivery.fragmented && last.coalesced == delivery.coalesced;
        if (sameManner && (delivery.coalesced > 0 || due <= std::max(last.due, now))) {
            return last;
        }
    }
    pieces_.push_back({due, std::move(spare_), delivery.fragmented, delivery.coalesced, 0});
    spare_.clear();
    return pieces_.back();
}

bool SendQueue::take(std::string& segment, Clock::time_point now) {
    segment.clear();
    if (pieces_.empty() || pieces_.front().due > now) {
        return false;
    }
    Piece& first = pieces_.front();
    if (first.fragmented) {
        takeByte(segment);
    } else {
        segment.swap(first.bytes);
        if (first.bytes.capacity() <= kKeptCapacity) {
            spare_ = std::move(first.bytes);
        }
        pieces_.pop_front();
    }
    size_ -= segment.size();
    return true;
}

void SendQueue::takeByte(std::string& segment) {
    std::string& bytes = pieces_.front().bytes;
    segment = bytes[taken_++];
    if (taken_ == bytes.size()) {
        pieces_.pop_front();
        taken_ = 0;
    } else if (taken_ == kKeptCapacity) {  // it may go on growing at its end
        bytes.erase(0, taken_);
        taken_ = 0;
    }
}

void SendQueue::flushDelayed() {
    for (Piece& piece : pieces_) {
        piece.due = {};
        piece.coalesced = 0;
    }
}

std::optional<SendQueue::Clock::time_point> SendQueue::nextDue() const {
    return pieces_.empty() ? std::nullopt : std::optional(pieces_.front().due);
}

}  // namespace pallbus::broker
