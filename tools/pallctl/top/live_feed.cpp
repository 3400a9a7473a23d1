#include "pallctl/top/live_feed.h"

#include <utility>

namespace pallctl::top {

namespace {

using namespace std::chrono_literals;
using client::Clock;
using client::Deadline;

constexpr std::chrono::milliseconds kConnectTimeout = 200ms;
// A bus that never stops sending leaves time for keys and drawing.
constexpr std::size_t kMaxMessagesPerStep = 256;

client::ConnectionOptions limitConnect(client::ConnectionOptions connection) {
    connection.connect = kConnectTimeout;
    return connection;
}

}  // namespace

LiveFeed::LiveFeed(const client::ConnectionOptions& connection, DeviceState& state)
    : state_(state),
      client_(limitConnect(connection), client::Subscription::changes, &state.cache()) {
    client_.follower().setNames(client_.catalogue());
}

void LiveFeed::step(Moment now) {
    receiveAll(now);
    if (set_ && now >= set_->deadline) {
        endSet({SetResult::Kind::noAnswer});
    }
    client_.follower().step(Deadline(now));
    setLink(client_.follower().link(), now);
}

void LiveFeed::receiveAll(Moment now) {
    behind_ = true;
    for (std::size_t taken = 0; behind_ && taken < kMaxMessagesPerStep; ++taken) {
        const auto payload = client_.session().receivePayload(Clock::now());
        behind_ = payload != nullptr;
        if (payload) {
            take({payload->data(), payload->size() - 1}, now);
        }
    }
}

void LiveFeed::take(std::string_view payload, Moment now) {
    const auto message = TarnInternalMessage::tryDecode(payload);
    if (!message) {
        return;
    }
    if (writer_) {
        writer_->record(message->source(), payload);
    }
    const bool restarted = state_.take(*message, now);
    client_.follower().take(*message, restarted, Deadline(now));
    if (set_ && message->type() == MessageType::RSP && message->uniqueId() == set_->id) {
        endSet({SetResult::Kind::answered, message->statusCode()});
    }
}

void LiveFeed::endSet(const SetResult& result) {
    set_.reset();
    setResult_ = result;
    client_.follower().setBusyUntil({});
}

void LiveFeed::setLink(Link link, Moment now) {
    if (link_ == link) {
        return;
    }
    if (link_ == Link::connected) {
        state_.markDisconnected(now);
    }
    if (link == Link::noBus && set_) {
        endSet({SetResult::Kind::connectionLost});
    }
    link_ = link;
    linkSince_ = now;
}

// A daemon that carries out a set answers nobody until it is done.
bool LiveFeed::set(const std::string& leaf, util::UniqueJSON value, Moment now) {
    if (!client_.session().isOpen()) {
        return false;
    }
    client::Device& device = client_.device();
    set_ = PendingSet{device.askToSet(leaf, std::move(value)), now + device.timeouts().set};
    client_.session().flush();
    client_.follower().setBusyUntil(Deadline(set_->deadline));
    return true;
}

void LiveFeed::record(const std::string& path) {
    writer_ = std::make_unique<recording::Writer>(path, "pallctl top");
    recordingTo_ = path;
    client_.follower().readAgain();
}

std::optional<std::string> LiveFeed::stopRecording() {
    recordingTo_.reset();
    const auto writer = std::exchange(writer_, nullptr);
    return writer ? writer->finish() : std::nullopt;
}

std::optional<std::string> LiveFeed::takeRecordingFailure() {
    return writer_ && writer_->failure() ? stopRecording() : std::nullopt;
}

}  // namespace pallctl::top
