#include "client/watch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>

#include "bus/messages.h"
#include "client/catalogue_names.h"
#include "client/human_form.h"
#include "client/verbs.h"
#include "model/time_stamp.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kHeartbeatPeriod = 5s;
constexpr auto kSilence = 10s;  // a bus that answers no heartbeat for so long is gone
constexpr auto kReconnectDelay = 1s;

}  // namespace

Watch::Watch(const Reach& reach, const std::vector<std::string>& names, bool table)
    : client_(reach, Interest::announcements), table_(table) {
    std::transform(names.begin(), names.end(), std::inserter(only_, only_.end()), fullName);
    names_ = only_.empty() ? catalogueNames() : std::vector(only_.begin(), only_.end());
}

ExitStatus Watch::run() {
    const ExitStatus status = begin();
    if (status != kSuccess) {
        return status;
    }
    client_.mirror().setOnChange([this](const Parameter& parameter) { show(parameter); });
    while (!client_.session().outputGone()) {
        follow();
        reconnect();
    }
    return kSuccess;
}

ExitStatus Watch::begin() {
    const ExitStatus status = client_.read(names_);
    if (status != kSuccess) {
        return status;
    }
    for (const std::string& name : only_) {
        if (!client_.mirror().find(name)) {
            complain(name, "not found");
            return kNotFound;
        }
    }
    if (table_) {
        std::fputs(parameterTable(client_.mirror(), only_).c_str(), stdout);
        std::fflush(stdout);
    }
    return kSuccess;
}

// Until the connection is lost.
void Watch::follow() {
    BusSession& session = client_.session();
    Device& device = client_.device();
    nextHeartbeat_ = Clock::now() + kHeartbeatPeriod;
    while (!session.outputGone()) {
        if (stale_) {
            stale_ = !device.read(names_);
        }
        const auto message = session.receive(nextHeartbeat_);
        if (message) {
            device.hear(*message);
        } else if (!session.isOpen()) {
            return;
        }
        stale_ = device.takeArrival() || stale_;
        keepAlive();
    }
}

void Watch::keepAlive() {
    const Deadline now = Clock::now();
    if (now < nextHeartbeat_) {
        return;
    }
    nextHeartbeat_ = now + kHeartbeatPeriod;
    if (now - client_.session().lastReceived() > kSilence) {
        client_.session().close();
        return;
    }
    SETMessage heartbeat("", nullptr);
    client_.session().queue(heartbeat);
    client_.session().flush();
}

void Watch::reconnect() {
    BusSession& session = client_.session();
    if (session.outputGone()) {
        return;
    }
    complain("bus", "connection lost");
    do {
        session.pause(Clock::now() + kReconnectDelay);
    } while (!session.outputGone() && !client_.connect());
    if (!session.outputGone()) {
        complain("bus", "connected again");
    }
    stale_ = true;
}

void Watch::show(const Parameter& parameter) const {
    const Descriptor& descriptor = parameter.descriptor;
    if (!only_.empty() && !only_.contains(descriptor.name)) {
        return;
    }
    printTimeStamp();
    std::printf("%s\t%s\n", printable(descriptor.name).c_str(),
                humanForm(descriptor, parameter.value.get()).c_str());
    std::fflush(stdout);
}

}  // namespace pallctl
