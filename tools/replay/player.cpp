#include "replay/player.h"

#include <algorithm>
#include <utility>

#include "replay/message.h"

namespace replay {

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

// The bus client of every module answers this one, after all that it was sent before.
constexpr const char* kClosingID = "end@replay";
constexpr const char* kClosingQuestion =
    "[\"GET\", \"system\", 0, 0, 0]\n"
    R"({"id":"end@replay","param":{"objectName":["moduleReady"]}})";

std::string heartbeatAnswer(const Message& heartbeat) {
    UniqueJSON data = jsonObject();
    addMember(data.get(), "id", jsonString(heartbeat.id));
    addMember(data.get(), "requestCommand", jsonString("SET"));
    addMember(data.get(), "statusCode", jsonNumber(200));
    addMember(data.get(), "statusMsg", jsonString("OK"));
    return "[\"RSP\", \"\", 0, " + std::to_string(heartbeat.source) + ", 0]\n" +
           renderJSON(data.get(), false);
}

}  // namespace

Player::Player(asio::io_context& io, uint16_t port, const std::vector<Step>& steps,
               Comparison& comparison, Speed speed, std::function<void()> done)
    : acceptor_(io, tcp::endpoint(asio::ip::address_v4::loopback(), port)),
      timer_(io),
      steps_(steps),
      comparison_(comparison),
      speed_(speed),
      done_(std::move(done)) {
    accept();
}

Player::~Player() {
    hangUp();
}

void Player::hangUp() {
    if (link_) {
        link_->close();
        link_.reset();
    }
}

void Player::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (!error && !link_) {
            welcome(std::move(socket));
        }
        accept();
    });
}

void Player::welcome(tcp::socket socket) {
    link_ = std::make_shared<DeviceLink>(std::move(socket));
    if (++connections_ == 1) {
        begin_ = Clock::now();
    }
    stirred_ = Clock::now();
    link_->start({[this](std::string payload) { take(std::move(payload)); }, [this] { advance(); },
                  [this] { lose(); }});
    advance();
}

void Player::take(std::string payload) {
    const Message message = parseMessage(payload);
    if (isHeartbeat(message) && !isAnswer(message)) {
        link_->send(heartbeatAnswer(message));
    } else if (isAnswer(message) && message.id == kClosingID) {
        answered_ = true;
    } else if (!finished_) {
        comparison_.take(now(), std::move(payload));
        stirred_ = Clock::now();
    }
    advance();
}

void Player::lose() {
    link_.reset();
    if (!finished_) {
        comparison_.takeLoss(now());
    }
    stirred_ = Clock::now();
    advance();
}

// Everything that happens leads here: goes as far as it can, and says when to look again.
void Player::advance() {
    while (!finished_) {
        const auto again = next_ < steps_.size() ? perform(next_) : closingQuestion();
        if (again) {
            lookAgain(*again);
            return;
        }
        if (next_ == steps_.size()) {
            finish();
            return;
        }
        ++next_;
    }
}

void Player::lookAgain(Clock::time_point when) {
    if (when == Clock::time_point::max()) {
        timer_.cancel();
        return;
    }
    timer_.expires_at(when);
    timer_.async_wait([this](const asio::error_code& error) {
        if (!error) {
            advance();
        }
    });
}

std::optional<Player::Clock::time_point> Player::perform(size_t index) {
    const Step& step = steps_[index];
    switch (step.kind) {
        case Step::Kind::connect:
            return connectStep();
        case Step::Kind::send:
            return sendStep(step);
        default:
            return expectStep(index);
    }
}

std::optional<Player::Clock::time_point> Player::connectStep() {
    if (connections_ > reached_) {
        ++reached_;
        return std::nullopt;
    }
    if (reached_ == 0) {
        return Clock::time_point::max();
    }
    if (link_) {
        hangUp();
        stirred_ = Clock::now();
    }
    return untilReturn();
}

std::optional<Player::Clock::time_point> Player::sendStep(const Step& step) {
    if (!link_ || link_->hasEnough()) {
        return untilReturn();
    }
    if (speed_ && Clock::now() < due(step)) {
        return due(step);
    }
    link_->send(comparison_.forToday(step.payload));
    ++sent_;
    sentAt_ = step.at;
    stirred_ = Clock::now();
    return std::nullopt;
}

std::optional<Player::Clock::time_point> Player::expectStep(size_t index) {
    if (!comparison_.isAwaited(index)) {
        return std::nullopt;
    }
    if (!link_) {
        return untilReturn();
    }
    const auto limit = limitOf(steps_[index]);
    if (Clock::now() < limit) {
        return limit;
    }
    comparison_.giveUp(index);
    return std::nullopt;
}

// What the device still had to say to all that went before has come when this is answered.
std::optional<Player::Clock::time_point> Player::closingQuestion() {
    if (!link_ || answered_ || (asked_ && Clock::now() >= stirred_ + kPatience)) {
        return std::nullopt;
    }
    if (!asked_) {
        asked_ = true;
        stirred_ = Clock::now();
        link_->send(kClosingQuestion);
    }
    return stirred_ + kPatience;
}

// A device that does not come back, or does not read, ends the replay.
std::optional<Player::Clock::time_point> Player::untilReturn() {
    if (Clock::now() < stirred_ + kReturn) {
        return stirred_ + kReturn;
    }
    hangUp();
    next_ = steps_.size();
    return Clock::now();
}

void Player::finish() {
    finished_ = true;
    timer_.cancel();
    done_();
}

Player::Clock::time_point Player::due(const Step& step) const {
    using Seconds = std::chrono::duration<double>;
    constexpr Seconds kNever{1e9};  // 31 years; the clock counts nanoseconds
    const Seconds recorded = step.at - steps_.front().at;
    return begin_ +
           std::chrono::duration_cast<Clock::duration>(std::min(recorded / *speed_, kNever));
}

// Until when a message is waited for.
Player::Clock::time_point Player::limitOf(const Step& step) const {
    if (speed_) {
        return due(step) + kPatience;
    }
    return stirred_ + kPatience + (isAnswer(parseMessage(step.payload)) ? step.at - sentAt_ : 0us);
}

// Where the replay has got to in the recording.
std::chrono::microseconds Player::now() const {
    return next_ < steps_.size() ? steps_[next_].at : steps_.back().at;
}

}  // namespace replay
