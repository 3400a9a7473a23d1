// A step passes the messages that have arrived to the recording, the state and the follower, which
// keeps the connection and asks the device. A set is over with its answer, its deadline, or the
// connection.

#include "pallctl/top/live_source.h"

#include <array>
#include <ctime>
#include <stdexcept>

#include "util/system_clock.h"

namespace pallctl::top {

namespace {

using namespace std::chrono_literals;
using client::Clock;
using client::Deadline;

constexpr std::chrono::milliseconds kConnectTimeout = 200ms;
// The time without a bus is shown in seconds, and the connection is checked as often.
constexpr Moment kTick = 1s;
// A bus that never stops sending leaves time for keys and drawing.
constexpr std::size_t kMaxMessagesPerStep = 256;

client::ConnectionOptions limitConnect(client::ConnectionOptions connection) {
    connection.connect = kConnectTimeout;
    return connection;
}

// A name for a new recording in the current directory.
std::string newRecordingName() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    std::array<char, 64> name{};
    std::strftime(name.data(), name.size(), "pallwatch-%Y%m%d-%H%M%S.rec", &local);
    return name.data();
}

}  // namespace

LiveSource::LiveSource(const client::ConnectionOptions& connection, const std::string& recordTo)
    : DataSource(connection.object),
      place_("127.0.0.1:" + std::to_string(connection.port)),
      client_(limitConnect(connection), client::Subscription::changes, &state_.cache()) {
    client_.follower().setNames(client_.catalogue());
    if (!recordTo.empty()) {
        record(recordTo);
    }
}

std::optional<Moment> LiveSource::untilNext() const {
    return behind_ ? Moment(0) : kTick;
}

void LiveSource::step(View& view, Moment elapsed) {
    advance(elapsed);
    if (const auto result = takeSetResult()) {
        view.showSetResult(*result);
    }
    if (const auto failure = takeRecordingFailure()) {
        view.say({"the recording ended: " + showable(*failure), Style::bad});
    }
}

void LiveSource::advance(Moment elapsed) {
    now_ += elapsed;
    receiveAll();
    if (set_ && now_ >= set_->deadline) {
        endSet({SetResult::Kind::noAnswer});
    }
    client_.follower().step(Deadline(now_));
    setLink(client_.follower().link());
}

void LiveSource::receiveAll() {
    behind_ = true;
    for (std::size_t taken = 0; behind_ && taken < kMaxMessagesPerStep; ++taken) {
        const auto payload = client_.session().receivePayload(Clock::now());
        behind_ = payload != nullptr;
        if (payload) {
            take({payload->data(), payload->size() - 1});
        }
    }
}

void LiveSource::take(std::string_view payload) {
    const auto message = TarnInternalMessage::tryDecode(payload);
    if (!message) {
        return;
    }
    if (writer_) {
        writer_->record(message->source(), payload);
    }
    const bool restarted = state_.take(*message, now_);
    client_.follower().take(*message, restarted, Deadline(now_));
    if (set_ && message->type() == MessageType::RSP && message->uniqueId() == set_->id) {
        endSet({SetResult::Kind::answered, message->statusCode()});
    }
}

void LiveSource::endSet(const SetResult& result) {
    set_.reset();
    setResult_ = result;
    client_.follower().setBusyUntil({});
}

void LiveSource::setLink(Link link) {
    if (link_ == link) {
        return;
    }
    if (link_ == Link::connected) {
        state_.markDisconnected(now_);
    }
    if (link == Link::noBus && set_) {
        endSet({SetResult::Kind::connectionLost});
    }
    link_ = link;
    linkSince_ = now_;
}

Status LiveSource::status() const {
    Status status;
    status.place = place_;
    status.link = link_;
    status.linkSince = linkSince_;
    // By the current clock: a frame gets its time of day long after start.
    status.begin = util::readSystemClock() - now_;
    if (recordingTo_) {
        status.recordingTo = showable(*recordingTo_);
    }
    return status;
}

void LiveSource::carryOut(Request request, View& view) {
    if (request == Request::set) {
        Change change = view.takeChange();
        if (!set(change.leaf, std::move(change.value))) {
            view.showSetResult(SetResult{SetResult::Kind::notConnected});
        }
    } else if (request == Request::record) {
        toggleRecording(view);
    }
}

// A daemon that carries out a set answers no request until it is done.
bool LiveSource::set(const std::string& leaf, util::UniqueJSON value) {
    if (!client_.session().isOpen()) {
        return false;
    }
    client::Device& device = client_.device();
    set_ = PendingSet{device.askToSet(leaf, std::move(value)), now_ + device.timeouts().set};
    client_.session().flush();
    client_.follower().setBusyUntil(Deadline(set_->deadline));
    return true;
}

void LiveSource::toggleRecording(View& view) try {
    if (const auto path = recordingTo_) {
        const auto failure = stopRecording();
        view.say(failure ? Notice{showable(*failure), Style::bad}
                         : Notice{"recorded to " + showable(*path)});
    } else {
        record(newRecordingName());
        view.say({"recording to " + showable(*recordingTo_)});
    }
} catch (const std::runtime_error& error) {
    view.say({showable(error.what()), Style::bad});
}

void LiveSource::record(const std::string& path) {
    writer_ = std::make_unique<recording::Writer>(path, "pallctl top");
    recordingTo_ = path;
    client_.follower().readAgain();
}

std::optional<std::string> LiveSource::stopRecording() {
    recordingTo_.reset();
    const auto writer = std::exchange(writer_, nullptr);
    auto failure = writer ? writer->finish() : std::nullopt;
    recordingFailure_ = recordingFailure_ ? recordingFailure_ : failure;
    return failure;
}

std::optional<std::string> LiveSource::takeRecordingFailure() {
    return writer_ && writer_->failure() ? stopRecording() : std::nullopt;
}

std::optional<std::string> LiveSource::finish() {
    stopRecording();
    return recordingFailure_;
}

}  // namespace pallctl::top
