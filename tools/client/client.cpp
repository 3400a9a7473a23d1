#include "client/client.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "client/catalogue_descriptors.h"
#include "client/catalogue_names.h"
#include "client/safe_text.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr const char* kBus = "bus";
constexpr int32_t kFirstConnectionID = 1'000'000;
constexpr std::chrono::milliseconds kConnectPatience = 2s;
constexpr std::chrono::milliseconds kRetryPause = 100ms;
constexpr std::chrono::milliseconds kReconnectPause = 1s;
// A request that came before the daemon did is lost; so while waiting, ask more often.
constexpr std::chrono::milliseconds kWaitingPatience = 500ms;

Patience patienceOf(const Reach& reach) {
    const Patience usual;
    return {reach.timeout.value_or(usual.read), reach.timeout.value_or(usual.set)};
}

bool goesOn(Interest interest) {
    return interest == Interest::announcements || interest == Interest::traffic;
}

int watchedOutput(Interest interest) {
    return goesOn(interest) ? STDOUT_FILENO : -1;
}

}  // namespace

int32_t ownConnectionID() {
    return kFirstConnectionID + static_cast<int32_t>(::getpid());
}

Client::Client(const Reach& reach, Interest interest)
    : reach_(reach),
      patience_(patienceOf(reach)),
      interest_(interest),
      session_(reach.port, ownConnectionID(), watchedOutput(interest)),
      device_(session_, mirror_, reach.object, patience_) {}

bool Client::connect() {
    return connect(Clock::now() + kConnectPatience);
}

bool Client::connect(Deadline giveUp) {
    if (!session_.open(giveUp)) {
        return false;
    }
    if (interest_ == Interest::traffic) {
        session_.subscribe("", true);
    } else if (interest_ != Interest::answers) {
        session_.subscribe(device_.object());
        if (device_.isThroughPrefix()) {
            session_.subscribe(device_.home());
        }
    }
    return true;
}

ExitStatus Client::awaitBus() {
    const Deadline giveUp = Clock::now() + reach_.wait;
    while (!connect()) {
        if (session_.outputGone()) {
            return kSuccess;
        }
        if (Clock::now() >= giveUp) {
            explain(kNoBus);
            return kNoBus;
        }
        tellMissing(kBus, session_.errorText());
        session_.pause(std::min(Clock::now() + kRetryPause, giveUp));
    }
    return kSuccess;
}

bool Client::reconnect(Deadline giveUp) {
    if (session_.outputGone()) {
        return false;
    }
    tellMissing(kBus, "connection lost");
    do {
        session_.pause(std::min(Clock::now() + kReconnectPause, giveUp));
    } while (!session_.outputGone() && Clock::now() < giveUp && !connect());
    return session_.isOpen() && !session_.outputGone();
}

void Client::tellNews() {
    if (!session_.isAlive()) {
        return;
    }
    if (missing_ == kBus) {
        missing_.clear();
        complain(kBus, wasThere_ ? "connected again" : "connected");
    }
    wasThere_ = true;
}

void Client::tellReading(bool answered) {
    tellNews();
    if (answered) {
        const bool isBack = std::exchange(hasAnswered_, true);
        if (!std::exchange(missing_, {}).empty()) {
            complain(device_.object(), isBack ? "answers again" : "answers");
        }
    } else if (!answered && session_.isAlive()) {
        tellMissing(device_.object(), "no answer");
    }
}

// While the bus is missing so is all that is behind it.
void Client::tellMissing(const std::string& subject, const std::string& problem) {
    if (goesOn(interest_) && missing_ != subject) {
        missing_ = subject;
        complain(subject, problem + ", waiting");
    }
}

ExitStatus Client::read(const std::vector<std::string>& names) {
    const Deadline giveUp = Clock::now() + reach_.wait;
    for (;;) {
        const bool last = Clock::now() >= giveUp;
        const auto status =
            tryToRead(names, last ? patience_.read : std::min(patience_.read, kWaitingPatience));
        if (session_.outputGone()) {
            return kSuccess;
        }
        if (status == kSuccess || last) {
            if (status == kSuccess) {
                tellReading(true);
            }
            explain(status);
            return status;
        }
        if (status == kNoBus) {
            tellMissing(kBus, session_.errorText());
            session_.pause(std::min(Clock::now() + kRetryPause, giveUp));
        } else {
            tellReading(false);
        }
    }
}

bool Client::isDaemon() const {
    const std::string& object = device_.object();
    return object == kDaemonObject || object.ends_with(std::string(".") + kDaemonObject);
}

std::vector<std::string> Client::catalogue() const {
    return isDaemon() ? device_.fullNames(catalogueNames()) : std::vector<std::string>();
}

std::vector<const Parameter*> Client::described(const std::set<std::string>& only) const {
    std::vector<std::string> names = catalogue();
    for (const Parameter* parameter : mirror_.all()) {
        const std::string& name = parameter->descriptor.name;
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    std::vector<const Parameter*> parameters;
    for (const std::string& name : names) {
        const Parameter* parameter = mirror_.described(name);
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
        describeCatalogue(DeviceObject(device_.object()), mirror_);
    }
    return kSuccess;
}

void Client::explain(ExitStatus status) const {
    if (status == kNoBus) {
        complain("no bus on 127.0.0.1:" + std::to_string(reach_.port), session_.errorText());
    } else if (status == kNoAnswer) {
        complain(device_.object(), "no answer");
    }
}

void complain(const std::string& subject, const std::string& problem) {
    std::fprintf(stderr, "pallctl: %s: %s\n", printable(subject).c_str(),
                 printable(problem).c_str());
}

}  // namespace pallctl
