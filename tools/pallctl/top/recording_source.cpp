#include "pallctl/top/recording_source.h"

#include <algorithm>
#include <array>
#include <utility>

#include "recording/recording.h"

namespace pallctl::top {

namespace {

using namespace std::chrono_literals;

constexpr std::array kSpeeds{0.25, 0.5, 1.0, 2.0, 4.0, 8.0, 16.0, 32.0, 64.0};
constexpr std::size_t kUsualSpeed = 2;
constexpr Moment kSeekStep = 10s;

// The position in the recording changes also when nothing else does.
constexpr Moment kTick = 1s;
// Faster changes would not be visible.
constexpr Moment kMinInterval = 50ms;

Moment scale(Moment time, double factor) {
    return std::chrono::duration_cast<Moment>(time * factor);
}

bool isShown(const TarnInternalMessage& message) {
    return message.type() == MessageType::NOT || message.type() == MessageType::RSP;
}

}  // namespace

RecordingSource::RecordingSource(const std::string& path, const std::string& object)
    : DataSource(object), place_(showable(path)), speed_(kUsualSpeed) {
    read(path);
    playUpTo(at_);
}

void RecordingSource::read(const std::string& path) {
    recording::Reader reader(path);
    start_ = reader.header().start;
    while (const auto entry = reader.next()) {
        length_ = entry->at;
        auto message = TarnInternalMessage::tryDecode(entry->payload);
        if (message && isShown(*message)) {
            events_.push_back({entry->at, std::move(*message)});
        }
    }
    notice_ = reader.truncation();
}

std::optional<Moment> RecordingSource::untilNext() const {
    if (paused_ || at_ == length_) {
        return std::nullopt;
    }
    const Moment next = played_ < events_.size() ? events_[played_].at - at_ : length_ - at_;
    return std::max(scale(std::min(next, kTick), 1 / kSpeeds[speed_]), kMinInterval);
}

void RecordingSource::step(View& view, Moment elapsed) {
    advance(elapsed);
    if (const auto notice = std::exchange(notice_, std::nullopt)) {
        view.say({showable(*notice), Style::bad});
    }
}

void RecordingSource::advance(Moment elapsed) {
    if (!paused_) {
        playUpTo(std::min(at_ + scale(elapsed, kSpeeds[speed_]), length_));
    }
}

Status RecordingSource::status() const {
    Status status;
    status.place = place_;
    status.playing = Playing{at_, length_, kSpeeds[speed_], paused_};
    status.begin = start_;
    return status;
}

void RecordingSource::carryOut(Request request, View& /*view*/) {
    switch (request) {
        case Request::pause:
            paused_ = !paused_;
            break;
        case Request::faster:
            speed_ = std::min(speed_ + 1, kSpeeds.size() - 1);
            break;
        case Request::slower:
            speed_ -= std::min<std::size_t>(speed_, 1);
            break;
        case Request::back:
            return seek(-kSeekStep);
        case Request::forward:
            return seek(kSeekStep);
        case Request::begin:
            return seek(-at_);
        default:
            break;
    }
}

void RecordingSource::seek(Moment distance) {
    const Moment target = std::clamp(at_ + distance, Moment(0), length_);
    if (target < at_) {
        state_.clear();
        played_ = 0;
    }
    playUpTo(target);
}

void RecordingSource::playUpTo(Moment at) {
    for (; played_ < events_.size() && events_[played_].at <= at; ++played_) {
        state_.take(events_[played_].message, events_[played_].at);
    }
    at_ = at;
}

}  // namespace pallctl::top
