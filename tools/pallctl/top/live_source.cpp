#include <array>
#include <ctime>
#include <stdexcept>

#include "pallctl/top/data_source.h"
#include "pallctl/top/live_feed.h"

namespace pallctl::top {

namespace {

// The time without a bus is shown in seconds, and the connection is checked as often.
constexpr Moment kTick = std::chrono::seconds(1);

// A name for a new recording in the current directory.
std::string newRecordingName() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 64> name{};
    std::strftime(name.data(), name.size(), "pallwatch-%Y%m%d-%H%M%S.rec", &local);
    return name.data();
}

class LiveSource : public DataSource {
  public:
    LiveSource(const client::ConnectionOptions& connection, const std::string& recordTo)
        : DataSource(connection.object),
          place_("127.0.0.1:" + std::to_string(connection.port)),
          feed_(connection, state_) {
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
    LiveFeed feed_;
    Moment now_{0};
    std::optional<std::string> recordingFailure_;  // the first one
};

void LiveSource::step(View& view, Moment elapsed) {
    now_ += elapsed;
    feed_.step(now_);
    if (const auto result = feed_.takeSetResult()) {
        view.showSetResult(*result);
    }
    if (const auto failure = feed_.takeRecordingFailure()) {
        noteEnd(failure);
        view.say({"the recording ended: " + showable(*failure), Style::bad});
    }
}

Status LiveSource::status() const {
    Status status;
    status.place = place_;
    status.link = feed_.link();
    status.linkSince = feed_.linkSince();
    // By the current clock: a frame gets its time of day long after start.
    status.begin = std::chrono::system_clock::now() - now_;
    if (feed_.recordingTo()) {
        status.recordingTo = showable(*feed_.recordingTo());
    }
    return status;
}

std::optional<std::string> LiveSource::finish() {
    noteEnd(feed_.stopRecording());
    return recordingFailure_;
}

void LiveSource::noteEnd(const std::optional<std::string>& failure) {
    recordingFailure_ = recordingFailure_ ? recordingFailure_ : failure;
}

void LiveSource::carryOut(Request request, View& view) {
    if (request == Request::set) {
        set(view);
    } else if (request == Request::record) {
        toggleRecording(view);
    }
}

void LiveSource::set(View& view) {
    Change change = view.takeChange();
    if (!feed_.set(change.leaf, std::move(change.value), now_)) {
        view.showSetResult(SetResult{SetResult::Kind::notConnected});
    }
}

void LiveSource::toggleRecording(View& view) try {
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

std::unique_ptr<DataSource> makeLiveSource(const client::ConnectionOptions& connection,
                                           const std::string& recordTo) {
    return std::make_unique<LiveSource>(connection, recordTo);
}

}  // namespace pallctl::top
