#include "pallctl/top/live_feed.h"

#include <stdexcept>
#include <utility>

#include "client/known_parameters.h"

namespace pallctl::top {

namespace {

using namespace std::chrono_literals;
using client::Clock;

constexpr auto kConnectTimeout = 200ms;
constexpr Moment kReconnectDelay = 1s;
// How often the daemon has to show that it answers; how soon it is asked again when it does not.
constexpr Moment kQuestionPeriod = 5s;
constexpr Moment kRepeatPeriod = 1s;
// A bus that never stops talking leaves time for keys and pictures.
constexpr std::size_t kMaxMessagesPerStep = 256;

client::Timeouts makeTimeouts(const client::ConnectionOptions& connection) {
    const client::Timeouts usual;
    return {connection.timeout.value_or(usual.read), connection.timeout.value_or(usual.set)};
}

std::vector<std::string> namesOf(const client::ConnectionOptions& connection) {
    return connection.object == client::kDaemonObject ? client::knownParameterNames()
                                                      : std::vector<std::string>();
}

}  // namespace

LiveFeed::LiveFeed(const client::ConnectionOptions& connection, DeviceState& state)
    : connection_(connection),
      names_(namesOf(connection)),
      state_(state),
      timeouts_(makeTimeouts(connection)),
      session_(connection.port, client::ownConnectionID()),
      device_(session_, state.cache(), connection.object, timeouts_) {}

void LiveFeed::step(Moment now) {
    if (!session_.isOpen() && !behind_) {
        connect(now);
    }
    receiveAll(now);
    checkTimeouts(now);
    if (session_.isOpen() && !question_ && now >= nextQuestion_) {
        isRepeated_ = false;
        ask(stale_ ? names_ : std::vector<std::string>(), now);
    }
}

void LiveFeed::connect(Moment now) {
    if (now < nextAttempt_) {
        return;
    }
    nextAttempt_ = now + kReconnectDelay;
    if (session_.open(client::Clock::now() + kConnectTimeout)) {
        session_.subscribe(connection_.object);
        if (device_.isThroughPrefix()) {
            session_.subscribe(device_.home());
        }
        setLink(Link::noDevice, now);
        stale_ = true;
        nextQuestion_ = now;
    }
}

void LiveFeed::receiveAll(Moment now) {
    behind_ = true;
    for (std::size_t taken = 0; behind_ && taken < kMaxMessagesPerStep; ++taken) {
        if (const auto payload = session_.receivePayload(client::Clock::now())) {
            take(payload, now);
        } else {
            behind_ = false;
        }
    }
    if (!session_.isOpen() && !behind_ && link_ != Link::noBus) {
        setLink(Link::noBus, now);
        question_.reset();
        if (std::exchange(set_, std::nullopt)) {
            setResult_ = SetResult{SetResult::Kind::connectionLost};
        }
    }
}

void LiveFeed::take(const client::BusSession::Payload& payload, Moment now) {
    try {
        auto copy = std::make_unique<std::vector<char>>(*payload);
        const TarnInternalMessage message(std::move(copy));
        if (writer_) {
            writer_->record(message.source(), {payload->data(), payload->size() - 1});
        }
        if (state_.take(message, now)) {
            stale_ = true;
            question_.reset();
            nextQuestion_ = now;
        }
        takeAnswer(message, now);
    } catch (const std::runtime_error&) {
        // What does not decode says nothing of the device.
    }
}

void LiveFeed::takeAnswer(const TarnInternalMessage& answer, Moment now) {
    if (answer.type() != MessageType::RSP) {
        return;
    }
    if (question_ && answer.uniqueId() == question_->id) {
        question_.reset();
        endReading(now);
        setLink(Link::connected, now);
    }
    if (set_ && answer.uniqueId() == set_->id) {
        set_.reset();
        setResult_ = SetResult{SetResult::Kind::answered, answer.statusCode()};
    }
}

void LiveFeed::ask(std::vector<std::string> names, Moment now) {
    asked_ = std::move(names);
    state_.cache().beginReading();
    question_ = Question{device_.ask(asked_), now + timeouts_.read};
    session_.flush();
}

// An answer may be lost, or overtaken by what was announced after it: once, it is asked for again.
void LiveFeed::endReading(Moment now) {
    state_.cache().endReading();
    if (device_.isThroughPrefix()) {
        state_.addCatalogue();
    }
    const auto open = isRepeated_ ? std::nullopt : device_.openNames(asked_);
    if (open) {
        isRepeated_ = true;
        ask(*open, now);
        return;
    }
    stale_ = false;
    nextQuestion_ = now + kQuestionPeriod;
}

void LiveFeed::checkTimeouts(Moment now) {
    if (set_ && now >= set_->deadline) {
        set_.reset();
        setResult_ = SetResult{SetResult::Kind::noAnswer};
    }
    // A daemon that carries out a set answers nobody until it is done.
    if (question_ && now >= question_->deadline && !set_) {
        question_.reset();
        stale_ = true;
        nextQuestion_ = now + kRepeatPeriod;
        setLink(Link::noDevice, now);
    }
}

void LiveFeed::setLink(Link link, Moment now) {
    if (link_ == link) {
        return;
    }
    if (link_ == Link::connected) {
        state_.markDisconnected(now);
    }
    link_ = link;
    linkSince_ = now;
}

bool LiveFeed::set(const std::string& leaf, util::UniqueJSON value, Moment now) {
    if (!session_.isOpen()) {
        return false;
    }
    set_ = Question{device_.askToSet(leaf, std::move(value)), now + timeouts_.set};
    session_.flush();
    return true;
}

void LiveFeed::record(const std::string& path) {
    writer_ = std::make_unique<recording::Writer>(path, "pallctl top");
    recordingTo_ = path;
    stale_ = true;
    nextQuestion_ = Moment(0);
    question_.reset();
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
