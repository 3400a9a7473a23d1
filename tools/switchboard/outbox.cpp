#include "switchboard/outbox.h"

#include <algorithm>
#include <utility>

namespace pallbus {

void Outbox::push(std::string_view frame, const Fate& fate, Clock::time_point now) {
    if (cut_) {
        return;
    }
    cut_ = fate.cut;
    const std::string_view part = fate.cut ? frame.substr(0, frame.size() / 2) : frame;
    Piece& piece = pieceFor(fate, now);
    piece.bytes += part;
    size_ += part.size();
    if (piece.joined > 0 && (++piece.messages >= piece.joined || cut_)) {
        piece.due = now + fate.delay;
        piece.joined = 0;
    }
}

// The last piece, when the message may leave with that, or a new one. Nothing leaves before what
// was there earlier, so a later time is only kept where it counts.
Outbox::Piece& Outbox::pieceFor(const Fate& fate, Clock::time_point now) {
    Clock::time_point due = now + fate.delay;
    if (fate.joined > 0) {
        due += kJoinPatience;
    }
    if (!pieces_.empty()) {
        Piece& last = pieces_.back();
        const bool sameManner = last.split == fate.split && last.joined == fate.joined;
        if (sameManner && (fate.joined > 0 || due <= std::max(last.due, now))) {
            return last;
        }
    }
    pieces_.push_back({due, std::move(spare_), fate.split, fate.joined, 0});
    spare_.clear();
    return pieces_.back();
}

bool Outbox::take(std::string& segment, Clock::time_point now) {
    segment.clear();
    if (pieces_.empty() || pieces_.front().due > now) {
        return false;
    }
    Piece& first = pieces_.front();
    if (first.split) {
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

void Outbox::takeByte(std::string& segment) {
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

void Outbox::hurry() {
    for (Piece& piece : pieces_) {
        piece.due = {};
        piece.joined = 0;
    }
}

std::optional<Outbox::Clock::time_point> Outbox::nextDue() const {
    return pieces_.empty() ? std::nullopt : std::optional(pieces_.front().due);
}

}  // namespace pallbus
