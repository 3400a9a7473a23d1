// The follower is a small state machine: the link, at most one question that waits for its answer,
// and the times of the next question and the next connection. A question is a reading of all
// parameters when the cache may be old, otherwise only a probe. An answer can be lost, or overtaken
// by notifications; what is open after it is asked for once more. While the device does not answer,
// the timeout doubles up to kMaxTimeout: a daemon that runs a long command answers everything
// afterwards.

#include "client/device_follower.h"

#include <algorithm>
#include <utility>

#include "client/known_parameters.h"

namespace client {

namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;

constexpr milliseconds kReconnectDelay = 1s;
// How often the device has to show that it answers.
constexpr milliseconds kProbePeriod = 5s;
constexpr milliseconds kMaxTimeout = 30s;

}  // namespace

DeviceFollower::DeviceFollower(BusSession& session, Device& device, ParameterCache& cache,
                               Subscription subscription, milliseconds connectTimeout)
    : session_(session),
      device_(device),
      cache_(cache),
      subscription_(subscription),
      connectTimeout_(connectTimeout),
      timeout_(usualTimeout()) {}

bool DeviceFollower::connect(Deadline giveUp) {
    question_.reset();
    if (!session_.open(giveUp)) {
        return false;
    }
    if (subscription_ == Subscription::traffic) {
        session_.subscribe("", true);
    } else if (subscription_ != Subscription::answers) {
        session_.subscribe(device_.object());
        if (device_.isThroughPrefix()) {
            session_.subscribe(device_.home());
        }
    }
    link_ = Link::noDevice;
    isOverdue_ = false;
    hasHeard_ = false;
    timeout_ = usualTimeout();
    readAgain();
    return true;
}

void DeviceFollower::setNames(std::vector<std::string> names) {
    names_ = std::move(names);
    asks_ = true;
    readAgain();
}

bool DeviceFollower::read(std::vector<std::string> names, milliseconds timeout) {
    setNames(std::move(names));
    timeout_ = timeout;
    askForAll(Clock::now());
    while (question_ && session_.isOpen() && !session_.outputGone()) {
        follow(Deadline::max());
    }
    return !isStale_;
}

BusSession::Payload DeviceFollower::receivePayload(Deadline until) {
    BusSession::Payload payload = session_.receivePayload(std::min(until, nextStep()));
    hasHeard_ = hasHeard_ || payload;
    if (!payload && !session_.isOpen()) {
        session_.pause(std::min(until, nextStep()));
    }
    return payload;
}

void DeviceFollower::follow(Deadline until) {
    if (const auto message = TarnInternalMessage::tryDecode(receivePayload(until))) {
        take(*message, device_.handleMessage(*message), Clock::now());
    }
    step(Clock::now());
}

void DeviceFollower::take(const TarnInternalMessage& message, bool restarted, Deadline now) {
    if (restarted && asks_) {
        // The device has not received an earlier question.
        isStale_ = true;
        askForAll(now);
    } else if (question_ && message.type() == MessageType::RSP &&
               message.uniqueId() == question_->id) {
        endReading(now);
    }
}

void DeviceFollower::step(Deadline now) {
    if (!session_.isDrained()) {
        return;
    }
    if (!session_.isOpen() && link_ != Link::noBus) {
        link_ = Link::noBus;
        question_.reset();
    } else if (!session_.isOpen() && now >= nextAttempt_) {
        nextAttempt_ = now + kReconnectDelay;
        connect();
    }
    if (session_.isOpen() && asks_ && !question_ && now >= nextQuestion_) {
        ask(isStale_ ? names_ : std::vector<std::string>(), now + timeout_);
    } else if (question_ && now >= std::max(question_->deadline, busyUntil_)) {
        giveUpAnswer(now);
    }
    session_.flush();
}

Deadline DeviceFollower::nextStep() const {
    if (!session_.isOpen()) {
        return link_ == Link::noBus ? nextAttempt_ : Deadline();
    }
    if (!asks_) {
        return Deadline::max();
    }
    return question_ ? std::max(question_->deadline, busyUntil_) : nextQuestion_;
}

void DeviceFollower::readAgain() {
    isStale_ = true;
    question_.reset();
    nextQuestion_ = Deadline();
}

// Questions are readings of the cache, so that notifications that arrive before the answer take
// precedence.
void DeviceFollower::ask(std::vector<std::string> names, Deadline deadline, bool isRepeated) {
    const bool isProbe = !isStale_ && !isRepeated;
    hasHeard_ = hasHeard_ && isOverdue_;
    cache_.beginReading();
    std::string id = isProbe ? device_.probe() : device_.ask(names);
    question_ = Question{std::move(id), deadline, std::move(names), isRepeated};
    session_.flush();
}

void DeviceFollower::endReading(Deadline now) {
    const Question question = *std::exchange(question_, std::nullopt);
    cache_.endReading();
    link_ = Link::connected;
    isOverdue_ = false;
    if (device_.isThroughPrefix() && device_.isDaemon()) {
        describeKnownParameters(DevicePath(device_.object()), cache_);
    }
    auto open = question.isRepeated ? std::nullopt : device_.openNames(question.names);
    if (open) {
        ask(std::move(*open), question.deadline, true);
        return;
    }
    isStale_ = false;
    timeout_ = usualTimeout();
    nextQuestion_ = now + kProbePeriod;
}

void DeviceFollower::giveUpAnswer(Deadline now) {
    readAgain();
    nextQuestion_ = now;
    link_ = Link::noDevice;
    isOverdue_ = true;
    timeout_ = std::min(2 * timeout_, kMaxTimeout);
}

}  // namespace client
