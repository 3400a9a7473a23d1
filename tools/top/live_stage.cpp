#include <array>
#include <ctime>
#include <stdexcept>

#include "top/feed.h"
#include "top/stage.h"

namespace top {

namespace {

// How long there has been no bus is shown in seconds, and so often the connection is looked after.
constexpr Moment kTick = std::chrono::seconds(1);

// A name for a recording that begins now, in the present directory.
std::string newRecordingName() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 64> name{};
    std::strftime(name.data(), name.size(), "pallwatch-%Y%m%d-%H%M%S.rec", &local);
    return name.data();
}

class LiveStage : public Stage {
  public:
    LiveStage(const pallctl::Reach& reach, const std::string& recordTo)
        : Stage(reach.object),
          place_("127.0.0.1:" + std::to_string(reach.port)),
          feed_(reach, board_) {
        if (!recordTo.empty()) {
            feed_.record(recordTo);
        }
    }

    int descriptor() const override { return feed_.descriptor(); }
    std::optional<Moment> untilNext() const override {
        return feed_.isBehind() ? Moment(0) : kTick;
    }
    Moment now() const override { return now_; }
    void step(View& view, Moment elapsed) override;
    Status status() const override;
    void carryOut(Request request, View& view) override;
    std::optional<std::string> finish() override;

  private:
    void set(View& view);
    void noteEnd(const std::optional<std::string>& failure);
    void toggleRecording(View& view);

    const std::string place_;
    Feed feed_;
    Moment now_{0};
    std::optional<std::string> recordingFailure_;  // the first one
};

void LiveStage::step(View& view, Moment elapsed) {
    now_ += elapsed;
    feed_.step(now_);
    if (const auto outcome = feed_.takeOutcome()) {
        view.conclude(*outcome);
    }
    if (const auto failure = feed_.takeRecordingFailure()) {
        noteEnd(failure);
        view.say({"the recording ended: " + showable(*failure), Style::bad});
    }
}

Status LiveStage::status() const {
    Status status;
    status.place = place_;
    status.link = feed_.link();
    status.linkSince = feed_.linkSince();
    // By the clock as it is now: a frame gets its time of day long after start.
    status.begin = std::chrono::system_clock::now() - now_;
    if (feed_.recordingTo()) {
        status.recordingTo = showable(*feed_.recordingTo());
    }
    return status;
}

std::optional<std::string> LiveStage::finish() {
    noteEnd(feed_.stopRecording());
    return recordingFailure_;
}

void LiveStage::noteEnd(const std::optional<std::string>& failure) {
    recordingFailure_ = recordingFailure_ ? recordingFailure_ : failure;
}

void LiveStage::carryOut(Request request, View& view) {
    if (request == Request::set) {
        set(view);
    } else if (request == Request::record) {
        toggleRecording(view);
    }
}

void LiveStage::set(View& view) {
    Change change = view.takeChange();
    if (!feed_.set(change.leaf, std::move(change.value), now_)) {
        view.conclude(Outcome{Outcome::Kind::notConnected});
    }
}

void LiveStage::toggleRecording(View& view) try {
    if (const auto path = feed_.recordingTo()) {
        const auto failure = feed_.stopRecording();
        noteEnd(failure);
        view.say(failure ? Notice{showable(*failure), Style::bad}
                         : Notice{"recorded to " + showable(*path)});
    } else {
        feed_.record(newRecordingName());
        view.say({"recording to " + showable(*feed_.recordingTo())});
    }
} catch (const std::runtime_error& error) {
    view.say({showable(error.what()), Style::bad});
}

}  // namespace

std::unique_ptr<Stage> makeLiveStage(const pallctl::Reach& reach, const std::string& recordTo) {
    return std::make_unique<LiveStage>(reach, recordTo);
}

}  // namespace top
