// A client retries connecting and reading until the wait is over; afterwards the follower does
// both. missing_ keeps what was reported as missing, so that each change is reported once.

#include "client/client.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "cli/escape.h"
#include "cli/similar_words.h"
#include "client/known_parameters.h"
#include "client/name_pattern.h"

namespace client {

namespace {

using namespace std::chrono_literals;

constexpr const char* kBus = "bus";
constexpr int32_t kFirstConnectionID = 1'000'000;
constexpr std::chrono::milliseconds kRetryPause = 100ms;
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

Client::Client(const ConnectionOptions& connection, Subscription subscription,
               ParameterCache* cache)
    : connection_(connection),
      subscription_(subscription),
      session_(connection.port, ownConnectionID(), watchedOutput(subscription)),
      cache_(cache ? *cache : ownCache_),
      device_(session_, cache_, connection.object, makeTimeouts(connection)),
      follower_(session_, device_, cache_, subscription, connection.connect) {
    if (connection.reportsFramingErrors) {
        session_.setOnFramingError(
            [] { complain(kBus, "dropped a frame with a wrong terminator"); });
    }
}

ExitStatus Client::waitForBus() {
    const ExitStatus status =
        retry([this](std::chrono::milliseconds) { return connectIfClosed() ? kSuccess : kNoBus; });
    session_.flush();  // no question follows that would send login and subscription
    return status;
}

ExitStatus Client::read(const std::vector<std::string>& names) {
    return retry([this, full = namesToRead(names)](std::chrono::milliseconds timeout) {
        if (connectIfClosed() && follower_.read(full, timeout)) {
            return device_.isForeign() ? kNotFound : kSuccess;
        }
        return session_.isOpen() ? kNoAnswer : kNoBus;
    });
}

std::vector<std::string> Client::namesToRead(const std::vector<std::string>& names) const {
    std::vector<std::string> full = device_.fullNames(names);
    if (std::erase_if(full, isPattern) > 0) {
        const std::vector<std::string> all = catalogue();
        full.insert(full.end(), all.begin(), all.end());
    }
    return full;
}

ExitStatus Client::retry(const Attempt& attempt) {
    const auto timeout = device_.timeouts().read;
    const Deadline giveUp = Clock::now() + connection_.wait;
    for (;;) {
        const bool last = Clock::now() >= giveUp;
        const ExitStatus status =
            attempt(last ? timeout : std::min(timeout, kReadTimeoutWhileWaiting));
        if (session_.outputGone()) {
            return kSuccess;
        }
        if (status != kSuccess && (last || status == kNotFound)) {
            if (connection_.reportsFailures) {
                complain(describeFailure(status));
            }
            return status;
        }
        reportLink();
        if (status == kSuccess) {
            return status;
        }
        if (status == kNoBus) {
            session_.pause(std::min(Clock::now() + kRetryPause, giveUp));
        }
    }
}

void Client::follow(Deadline until) {
    follower_.follow(until);
    reportLink();
}

BusSession::Payload Client::receivePayload() {
    auto payload = follower_.receivePayload(Deadline::max());
    follower_.step(Clock::now());
    reportLink();
    return payload;
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

void Client::reportLink() {
    reportConnection();
    if (!session_.isOpen()) {
        reportMissing(kBus, wasThere_ ? "connection lost" : session_.errorText());
    } else if (follower_.isUnresponsive()) {
        reportMissing(device_.object(), "not responding");
    } else if (follower_.link() == Link::connected) {
        const bool isBack = std::exchange(hasAnswered_, true);
        if (!std::exchange(missing_, {}).empty()) {
            complain(device_.object(), isBack ? "responding again" : "responding");
        }
    }
}

// While the bus is missing so is all that is behind it.
void Client::reportMissing(const std::string& subject, const std::string& problem) {
    if (goesOn(subscription_) && missing_ != subject) {
        missing_ = subject;
        complain(subject, problem + ", waiting");
    }
}

std::vector<std::string> Client::catalogue() const {
    return device_.isDaemon() ? device_.fullNames(knownParameterNames())
                              : std::vector<std::string>();
}

std::vector<std::string> Client::expand(const std::vector<std::string>& names) const {
    std::vector<std::string> expanded;
    for (const std::string& name : device_.fullNames(names)) {
        const size_t before = expanded.size();
        if (isPattern(name)) {
            for (const Parameter* parameter : described()) {
                if (matchesPattern(name, parameter->descriptor.name)) {
                    expanded.push_back(parameter->descriptor.name);
                }
            }
        }
        if (expanded.size() == before) {
            expanded.push_back(name);
        }
    }
    return expanded;
}

std::string Client::describeUnknown(const std::string& name) const {
    std::vector<std::string> leaves;
    for (const Parameter* parameter : described()) {
        leaves.push_back(device_.leafName(parameter->descriptor.name));
    }
    for (const std::string& known : catalogue()) {
        leaves.push_back(device_.leafName(known));
    }
    std::ranges::sort(leaves);
    leaves.erase(std::unique(leaves.begin(), leaves.end()), leaves.end());
    return "not found" + cli::suggest(device_.leafName(name), leaves);
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

std::string Client::describeFailure(ExitStatus status) const {
    if (status == kNoBus) {
        return "no bus on 127.0.0.1:" + std::to_string(connection_.port) + ": " +
               session_.errorText();
    }
    return device_.object() + (status == kNotFound ? ": no such device; only '" +
                                                         std::string(kDaemonObject) + "' answers"
                                                   : ": no answer");
}

void complain(const std::string& subject, const std::string& problem) {
    complain(subject + ": " + problem);
}

void complain(const std::string& message) {
    std::fprintf(stderr, "pallctl: %s\n", cli::escapeForTerminal(message).c_str());
}

}  // namespace client
