#include "pallctl/top/player.h"

#include <algorithm>
#include <array>
#include <utility>

#include "recording/recording.h"

namespace pallctl::top {

namespace {

constexpr std::array kSpeeds{0.25, 0.5, 1.0, 2.0, 4.0, 8.0, 16.0, 32.0, 64.0};
constexpr std::size_t kUsualSpeed = 2;

// The position in the recording changes also when nothing else does.
constexpr Moment kTick = std::chrono::seconds(1);
// Faster changes would not be visible.
constexpr Moment kMinInterval = std::chrono::milliseconds(50);

Moment scale(Moment time, double factor) {
    return std::chrono::duration_cast<Moment>(time * factor);
}

bool isShown(const TarnInternalMessage& message) {
    return message.type() == MessageType::NOT || message.type() == MessageType::RSP;
}

}  // namespace

Player::Player(const std::string& path, DeviceState& state) : state_(state), speed_(kUsualSpeed) {
    read(path);
    playUpTo(at_);
}

void Player::read(const std::string& path) {
    recording::Reader reader(path);
    start_ = reader.header().start;
    while (const auto entry = reader.next()) {
        length_ = entry->at;
        auto message = TarnInternalMessage::tryDecode(entry->payload);
        if (message && isShown(*message)) {
            events_.push_back({entry->at, std::move(*message)});
        }
    }
    truncation_ = reader.truncation();
}

void Player::advance(Moment elapsed) {
    if (!paused_) {
        playUpTo(std::min(at_ + scale(elapsed, kSpeeds[speed_]), length_));
    }
}

std::optional<Moment> Player::untilNext() const {
    if (paused_ || at_ == length_) {
        return std::nullopt;
    }
    const Moment next = played_ < events_.size() ? events_[played_].at - at_ : length_ - at_;
    return std::max(scale(std::min(next, kTick), 1 / kSpeeds[speed_]), kMinInterval);
}

void Player::faster() {
    speed_ = std::min(speed_ + 1, kSpeeds.size() - 1);
}

void Player::slower() {
    speed_ -= std::min<std::size_t>(speed_, 1);
}

void Player::seek(Moment distance) {
    const Moment target = std::clamp(at_ + distance, Moment(0), length_);
    if (target < at_) {
        state_.clear();
        played_ = 0;
    }
    playUpTo(target);
}

Playing Player::playing() const {
    return {at_, length_, kSpeeds[speed_], paused_};
}

void Player::playUpTo(Moment at) {
    for (; played_ < events_.size() && events_[played_].at <= at; ++played_) {
        state_.take(events_[played_].message, events_[played_].at);
    }
    at_ = at;
}

}  // namespace pallctl::top
