#include "client/client.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "cli/escape.h"
#include "client/known_parameters.h"

namespace client {

namespace {

using namespace std::chrono_literals;

constexpr const char* kBus = "bus";
constexpr int32_t kFirstConnectionID = 1'000'000;
constexpr std::chrono::milliseconds kConnectTimeout = 2s;
constexpr std::chrono::milliseconds kRetryPause = 100ms;
constexpr std::chrono::milliseconds kReconnectPause = 1s;
// A request that came before the daemon did is lost; so while waiting, ask more often.
constexpr std::chrono::milliseconds kReadTimeoutWhileWaiting = 500ms;

Timeouts makeTimeouts(const ConnectionOptions& connection) {
    const Timeouts usual;
    return {connection.timeout.value_or(usual.read), connection.timeout.value_or(usual.set)};
}

bool goesOn(Subscription subscription) {
    return subscription == Subscription::announcements || subscription == Subscription::traffic;
}

int watchedOutput(Subscription subscription) {
    return goesOn(subscription) ? STDOUT_FILENO : -1;
}

}  // namespace

int32_t ownConnectionID() {
    return kFirstConnectionID + static_cast<int32_t>(::getpid());
}

Client::Client(const ConnectionOptions& connection, Subscription subscription)
    : connection_(connection),
      timeouts_(makeTimeouts(connection)),
      subscription_(subscription),
      session_(connection.port, ownConnectionID(), watchedOutput(subscription)),
      device_(session_, cache_, connection.object, timeouts_) {}

bool Client::connect() {
    return connect(Clock::now() + kConnectTimeout);
}

bool Client::connect(Deadline giveUp) {
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
    return true;
}

ExitStatus Client::waitForBus() {
    const Deadline giveUp = Clock::now() + connection_.wait;
    while (!connect()) {
        if (session_.outputGone()) {
            return kSuccess;
        }
        if (Clock::now() >= giveUp) {
            explain(kNoBus);
            return kNoBus;
        }
        reportMissing(kBus, session_.errorText());
        session_.pause(std::min(Clock::now() + kRetryPause, giveUp));
    }
    return kSuccess;
}

bool Client::reconnect(Deadline giveUp) {
    if (session_.outputGone()) {
        return false;
    }
    reportMissing(kBus, "connection lost");
    do {
        session_.pause(std::min(Clock::now() + kReconnectPause, giveUp));
    } while (!session_.outputGone() && Clock::now() < giveUp && !connect());
    return session_.isOpen() && !session_.outputGone();
}

void Client::reportConnection() {
    if (!session_.isAlive()) {
        return;
    }
    if (missing_ == kBus) {
        missing_.clear();
        complain(kBus, wasThere_ ? "connected again" : "connected");
    }
    wasThere_ = true;
}

void Client::reportReading(bool answered) {
    reportConnection();
    if (answered) {
        const bool isBack = std::exchange(hasAnswered_, true);
        if (!std::exchange(missing_, {}).empty()) {
            complain(device_.object(), isBack ? "responding again" : "responding");
        }
    } else if (!answered && session_.isAlive()) {
        reportMissing(device_.object(), "not responding");
    }
}

// While the bus is missing so is all that is behind it.
void Client::reportMissing(const std::string& subject, const std::string& problem) {
    if (goesOn(subscription_) && missing_ != subject) {
        missing_ = subject;
        complain(subject, problem + ", waiting");
    }
}

ExitStatus Client::read(const std::vector<std::string>& names) {
    const Deadline giveUp = Clock::now() + connection_.wait;
    for (;;) {
        const bool last = Clock::now() >= giveUp;
        const auto status = tryToRead(
            names, last ? timeouts_.read : std::min(timeouts_.read, kReadTimeoutWhileWaiting));
        if (session_.outputGone()) {
            return kSuccess;
        }
        if (status == kSuccess || last) {
            if (status == kSuccess) {
                reportReading(true);
            }
            explain(status);
            return status;
        }
        if (status == kNoBus) {
            reportMissing(kBus, session_.errorText());
            session_.pause(std::min(Clock::now() + kRetryPause, giveUp));
        } else {
            reportReading(false);
        }
    }
}

bool Client::isDaemon() const {
    const std::string& object = device_.object();
    return object == kDaemonObject || object.ends_with(std::string(".") + kDaemonObject);
}

std::vector<std::string> Client::catalogue() const {
    return isDaemon() ? device_.fullNames(knownParameterNames()) : std::vector<std::string>();
}

std::vector<const Parameter*> Client::described(const std::set<std::string>& only) const {
    std::vector<std::string> names = catalogue();
    for (const Parameter* parameter : cache_.all()) {
        const std::string& name = parameter->descriptor.name;
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    std::vector<const Parameter*> parameters;
    for (const std::string& name : names) {
        const Parameter* parameter = cache_.described(name);
        if (parameter && (only.empty() || only.contains(name))) {
            parameters.push_back(parameter);
        }
    }
    return parameters;
}

ExitStatus Client::tryToRead(const std::vector<std::string>& names,
                             std::chrono::milliseconds patience) {
    if (!session_.isOpen() && !connect()) {
        return kNoBus;
    }
    if (!device_.read(device_.fullNames(names), patience)) {
        return session_.isOpen() ? kNoAnswer : kNoBus;
    }
    if (device_.isThroughPrefix() && isDaemon()) {
        // What it could not be asked for.
        describeKnownParameters(DevicePath(device_.object()), cache_);
    }
    return kSuccess;
}

void Client::explain(ExitStatus status) const {
    if (status == kNoBus) {
        complain("no bus on 127.0.0.1:" + std::to_string(connection_.port), session_.errorText());
    } else if (status == kNoAnswer) {
        complain(device_.object(), "no answer");
    }
}

void complain(const std::string& subject, const std::string& problem) {
    std::fprintf(stderr, "pallctl: %s: %s\n", cli::escapeForTerminal(subject).c_str(),
                 cli::escapeForTerminal(problem).c_str());
}

}  // namespace client
