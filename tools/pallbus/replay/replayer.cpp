// The replayer walks through the steps of the plan. Each step either is done or names the time at
// which to check again; every event (a message, a completed write, a disconnect, the timer)
// continues the walk at the current step. After the last step a final question flushes out what the
// device still had to say.

#include "pallbus/replay/replayer.h"

#include <algorithm>
#include <utility>

#include "bus/netstring.h"
#include "pallbus/replay/message.h"

namespace pallbus::replay {

namespace {

using asio::ip::tcp;
using namespace std::chrono_literals;

// Every module answers this question, after everything that it was sent before.
constexpr const char* kFinalID = "end@replay";
constexpr const char* kFinalQuestion =
    "[\"GET\", \"system\", 0, 0, 0]\n"
    R"({"id":"end@replay","param":{"objectName":["moduleReady"]}})";

std::string heartbeatAnswer(const Message& heartbeat) {
    util::UniqueJSON data = util::jsonObject();
    util::addMember(data.get(), "id", util::jsonString(heartbeat.id));
    util::addMember(data.get(), "requestCommand", util::jsonString("SET"));
    util::addMember(data.get(), "statusCode", util::jsonNumber(200));
    util::addMember(data.get(), "statusMsg", util::jsonString("OK"));
    return "[\"RSP\", \"\", 0, " + std::to_string(heartbeat.source) + ", 0]\n" +
           util::renderJSON(data.get(), false);
}

}  // namespace

Replayer::Replayer(asio::io_context& io, uint16_t port, const std::vector<Step>& steps,
                   Comparison& comparison, Speed speed, std::function<void()> done)
    : acceptor_(io, tcp::endpoint(asio::ip::address_v4::loopback(), port)),
      timer_(io, [this] { advance(); }),
      steps_(steps),
      comparison_(comparison),
      speed_(speed),
      done_(std::move(done)) {
    accept();
}

Replayer::~Replayer() {
    disconnect();
}

void Replayer::disconnect() {
    if (connection_) {
        connection_->close();
        connection_.reset();
    }
}

void Replayer::accept() {
    acceptor_.async_accept([this](const asio::error_code& error, tcp::socket socket) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        if (!error && !connection_) {
            startConnection(std::move(socket));
        }
        accept();
    });
}

void Replayer::startConnection(tcp::socket socket) {
    connection_ = std::make_shared<broker::Connection>(std::move(socket));
    if (++connectionCount_ == 1) {
        begin_ = Clock::now();
    }
    lastActivity_ = Clock::now();
    connection_->start({[this](broker::Connection::Payload payload) {
                            // Without the NUL that the parser appends.
                            receive(std::string(payload->data(), payload->size() - 1));
                        },
                        [](auto) {}, [this](const std::string&) { handleDisconnect(); },
                        [this] { advance(); }});
    advance();
}

void Replayer::send(const std::string& payload) {
    connection_->send(lumo::encodeNetString(payload), {});
}

void Replayer::receive(std::string payload) {
    const Message message = parseMessage(payload);
    if (isHeartbeat(message) && !isResponse(message)) {
        send(heartbeatAnswer(message));
    } else if (isResponse(message) && message.id == kFinalID) {
        answered_ = true;
    } else if (!finished_) {
        comparison_.addMessage(now(), std::move(payload));
        lastActivity_ = Clock::now();
    }
    advance();
}

void Replayer::handleDisconnect() {
    connection_.reset();
    if (!finished_) {
        comparison_.addDisconnect(now());
    }
    lastActivity_ = Clock::now();
    advance();
}

// Performs as many steps as possible, and schedules the next check.
void Replayer::advance() {
    while (!finished_) {
        const auto again = next_ < steps_.size() ? perform(next_) : finalQuestion();
        if (again) {
            scheduleCheck(*again);
            return;
        }
        if (next_ == steps_.size()) {
            finish();
            return;
        }
        ++next_;
    }
}

void Replayer::scheduleCheck(Clock::time_point when) {
    if (when == Clock::time_point::max()) {
        timer_.cancel();
    } else {
        timer_.arm(when - Clock::now());
    }
}

std::optional<Replayer::Clock::time_point> Replayer::perform(size_t index) {
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

std::optional<Replayer::Clock::time_point> Replayer::connectStep() {
    if (connectionCount_ > connectSteps_) {
        ++connectSteps_;
        return std::nullopt;
    }
    if (connectSteps_ == 0) {
        return Clock::time_point::max();
    }
    if (connection_) {
        disconnect();
        lastActivity_ = Clock::now();
    }
    return untilReconnect();
}

std::optional<Replayer::Clock::time_point> Replayer::sendStep(const Step& step) {
    if (!connection_ || connection_->unsentBytes() >= broker::Connection::kSendHighWater) {
        return untilReconnect();
    }
    if (speed_ && Clock::now() < due(step)) {
        return due(step);
    }
    send(comparison_.rewriteIDs(step.payload));
    ++sent_;
    sentAt_ = step.at;
    lastActivity_ = Clock::now();
    return std::nullopt;
}

std::optional<Replayer::Clock::time_point> Replayer::expectStep(size_t index) {
    if (!comparison_.isExpected(index)) {
        return std::nullopt;
    }
    if (!connection_) {
        return untilReconnect();
    }
    const auto limit = messageDeadline(steps_[index]);
    if (Clock::now() < limit) {
        return limit;
    }
    comparison_.timeOut(index);
    return std::nullopt;
}

// When it is answered, everything that the device had to say to earlier messages has arrived.
std::optional<Replayer::Clock::time_point> Replayer::finalQuestion() {
    if (!connection_ || answered_ || (asked_ && Clock::now() >= lastActivity_ + kMessageTimeout)) {
        return std::nullopt;
    }
    if (!asked_) {
        asked_ = true;
        lastActivity_ = Clock::now();
        send(kFinalQuestion);
    }
    return lastActivity_ + kMessageTimeout;
}

// A device that does not reconnect, or does not read, ends the replay.
std::optional<Replayer::Clock::time_point> Replayer::untilReconnect() {
    if (Clock::now() < lastActivity_ + kReconnectTimeout) {
        return lastActivity_ + kReconnectTimeout;
    }
    disconnect();
    next_ = steps_.size();
    return Clock::now();
}

void Replayer::finish() {
    finished_ = true;
    timer_.cancel();
    done_();
}

Replayer::Clock::time_point Replayer::due(const Step& step) const {
    using Seconds = std::chrono::duration<double>;
    constexpr Seconds kNever{1e9};  // 31 years; the clock counts nanoseconds
    const Seconds recorded = step.at - steps_.front().at;
    return begin_ +
           std::chrono::duration_cast<Clock::duration>(std::min(recorded / *speed_, kNever));
}

Replayer::Clock::time_point Replayer::messageDeadline(const Step& step) const {
    if (speed_) {
        return due(step) + kMessageTimeout;
    }
    return lastActivity_ + kMessageTimeout +
           (isResponse(parseMessage(step.payload)) ? step.at - sentAt_ : 0us);
}

// The recorded time of the current step.
std::chrono::microseconds Replayer::now() const {
    return next_ < steps_.size() ? steps_[next_].at : steps_.back().at;
}

}  // namespace pallbus::replay
