#include "top/feed.h"

#include <stdexcept>
#include <utility>

#include "client/catalogue_names.h"

namespace top {

namespace {

using namespace std::chrono_literals;
using pallctl::Clock;

constexpr auto kConnectPatience = 200ms;
constexpr Moment kReconnectDelay = 1s;
// How often the daemon has to show that it answers; how soon it is asked again when it does not.
constexpr Moment kQuestionPeriod = 5s;
constexpr Moment kRepeatPeriod = 1s;
// A bus that never stops talking leaves time for keys and pictures.
constexpr std::size_t kMostAtOnce = 256;

pallctl::Patience patienceOf(const pallctl::Reach& reach) {
    const pallctl::Patience usual;
    return {reach.timeout.value_or(usual.read), reach.timeout.value_or(usual.set)};
}

std::vector<std::string> namesOf(const pallctl::Reach& reach) {
    return reach.object == pallctl::kDaemonObject ? pallctl::catalogueNames()
                                                  : std::vector<std::string>();
}

}  // namespace

Feed::Feed(const pallctl::Reach& reach, Board& board)
    : reach_(reach),
      names_(namesOf(reach)),
      board_(board),
      patience_(patienceOf(reach)),
      session_(reach.port, pallctl::ownConnectionID()),
      device_(session_, board.mirror(), reach.object, patience_) {}

void Feed::step(Moment now) {
    if (!session_.isOpen() && !behind_) {
        connect(now);
    }
    takeIn(now);
    giveUp(now);
    if (session_.isOpen() && !question_ && now >= nextQuestion_) {
        isRepeated_ = false;
        ask(stale_ ? names_ : std::vector<std::string>(), now);
    }
}

void Feed::connect(Moment now) {
    if (now < nextAttempt_) {
        return;
    }
    nextAttempt_ = now + kReconnectDelay;
    if (session_.open(Clock::now() + kConnectPatience)) {
        session_.subscribe(reach_.object);
        if (device_.isThroughPrefix()) {
            session_.subscribe(device_.home());
        }
        become(Link::noDevice, now);
        stale_ = true;
        nextQuestion_ = now;
    }
}

void Feed::takeIn(Moment now) {
    behind_ = true;
    for (std::size_t taken = 0; behind_ && taken < kMostAtOnce; ++taken) {
        if (const auto payload = session_.receivePayload(Clock::now())) {
            take(payload, now);
        } else {
            behind_ = false;
        }
    }
    if (!session_.isOpen() && !behind_ && link_ != Link::noBus) {
        become(Link::noBus, now);
        question_.reset();
        if (std::exchange(set_, std::nullopt)) {
            outcome_ = Outcome{Outcome::Kind::connectionLost};
        }
    }
}

void Feed::take(const pallctl::BusSession::Payload& payload, Moment now) {
    try {
        auto copy = std::make_unique<std::vector<char>>(*payload);
        const TarnInternalMessage message(std::move(copy));
        if (writer_) {
            writer_->record(message.source(), {payload->data(), payload->size() - 1});
        }
        if (board_.take(message, now)) {
            stale_ = true;
            question_.reset();
            nextQuestion_ = now;
        }
        takeAnswer(message, now);
    } catch (const std::runtime_error&) {
        // What does not decode says nothing of the device.
    }
}

void Feed::takeAnswer(const TarnInternalMessage& answer, Moment now) {
    if (answer.type() != MessageType::RSP) {
        return;
    }
    if (question_ && answer.uniqueId() == question_->id) {
        question_.reset();
        endReading(now);
        become(Link::connected, now);
    }
    if (set_ && answer.uniqueId() == set_->id) {
        set_.reset();
        outcome_ = Outcome{Outcome::Kind::answered, answer.statusCode()};
    }
}

void Feed::ask(std::vector<std::string> names, Moment now) {
    asked_ = std::move(names);
    board_.mirror().beginReading();
    question_ = Question{device_.ask(asked_), now + patience_.read};
    session_.flush();
}

// An answer may be lost, or overtaken by what was announced after it: once, it is asked for again.
void Feed::endReading(Moment now) {
    board_.mirror().endReading();
    if (device_.isThroughPrefix()) {
        board_.addCatalogue();
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

void Feed::giveUp(Moment now) {
    if (set_ && now >= set_->deadline) {
        set_.reset();
        outcome_ = Outcome{Outcome::Kind::noAnswer};
    }
    // A daemon that carries out a set answers nobody until it is done.
    if (question_ && now >= question_->deadline && !set_) {
        question_.reset();
        stale_ = true;
        nextQuestion_ = now + kRepeatPeriod;
        become(Link::noDevice, now);
    }
}

void Feed::become(Link link, Moment now) {
    if (link_ == link) {
        return;
    }
    if (link_ == Link::connected) {
        board_.lose(now);
    }
    link_ = link;
    linkSince_ = now;
}

bool Feed::set(const std::string& leaf, UniqueJSON value, Moment now) {
    if (!session_.isOpen()) {
        return false;
    }
    set_ = Question{device_.askToSet(leaf, std::move(value)), now + patience_.set};
    session_.flush();
    return true;
}

void Feed::record(const std::string& path) {
    writer_ = std::make_unique<recording::Writer>(path, "pallctl top");
    recordingTo_ = path;
    stale_ = true;
    nextQuestion_ = Moment(0);
    question_.reset();
}

std::optional<std::string> Feed::stopRecording() {
    recordingTo_.reset();
    const auto writer = std::exchange(writer_, nullptr);
    return writer ? writer->finish() : std::nullopt;
}

std::optional<std::string> Feed::takeRecordingFailure() {
    return writer_ && writer_->failure() ? stopRecording() : std::nullopt;
}

}  // namespace top
