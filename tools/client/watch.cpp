#include "client/watch.h"

#include <algorithm>
#include <chrono>
#include <cstdio>

#include "client/human_form.h"
#include "client/output.h"
#include "client/safe_text.h"
#include "model/time_stamp.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kTurn = 1h;  // nothing but messages ends it

}  // namespace

Watch::Watch(const Reach& reach, const std::vector<std::string>& names, bool table)
    : client_(reach, Interest::announcements), table_(table) {
    const std::vector<std::string> full = client_.device().fullNames(names);
    only_.insert(full.begin(), full.end());
    names_ = only_.empty() ? client_.catalogue() : std::vector(only_.begin(), only_.end());
}

ExitStatus Watch::run() {
    const ExitStatus status = begin();
    if (status != kSuccess) {
        return status;
    }
    client_.mirror().setOnChange([this](const Parameter& parameter) { show(parameter); });
    do {
        follow();
        stale_ = true;
    } while (client_.reconnect());
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
        std::fputs(listing(client_.described(only_), {}).c_str(), stdout);
        std::fflush(stdout);
    }
    return kSuccess;
}

// Until the connection is lost.
void Watch::follow() {
    BusSession& session = client_.session();
    Device& device = client_.device();
    while (!session.outputGone()) {
        if (stale_) {
            stale_ = !device.read(names_);
        }
        const auto message = session.receive(Clock::now() + kTurn);
        if (message) {
            device.hear(*message);
        } else if (!session.isOpen()) {
            return;
        }
        stale_ = device.takeArrival() || stale_;
    }
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
