#include "client/watch.h"

#include <algorithm>

#include "client/change_line.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kTurn = 1h;  // nothing but messages ends it
// A daemon whose loop waits for a command answers all that it was asked when that has ended.
constexpr std::chrono::milliseconds kLongestPatience = 30s;

}  // namespace

Watch::Watch(const Reach& reach, const Style& style, const std::vector<std::string>& names,
             bool table)
    : client_(reach, Interest::announcements),
      style_(style),
      usualPatience_(reach.timeout.value_or(Patience().read)),
      patience_(usualPatience_),
      table_(table) {
    const std::vector<std::string> full = client_.device().fullNames(names);
    only_.insert(full.begin(), full.end());
    names_ = only_.empty() ? client_.catalogue() : std::vector(only_.begin(), only_.end());
}

ExitStatus Watch::run() {
    const ExitStatus status = begin();
    if (status != kSuccess) {
        return status;
    }
    do {
        follow();
        stale_ = true;
        patience_ = usualPatience_;
    } while (client_.reconnect());
    return kSuccess;
}

ExitStatus Watch::begin() {
    if (style_.raw) {
        client_.mirror().tellExactly();
    }
    if (!table_) {
        tellChanges();
    }
    ExitStatus status = client_.read(names_);
    if (status == kSuccess) {
        status = findNames();
    }
    if (status == kSuccess && table_) {
        printTable();
        tellChanges();
    }
    return status;
}

ExitStatus Watch::findNames() const {
    // Through a prefix most are heard of when they change, and not before.
    if (client_.device().isThroughPrefix() || client_.session().outputGone()) {
        return kSuccess;
    }
    for (const std::string& name : only_) {
        if (!client_.mirror().find(name)) {
            complain(name, "not found");
            return kNotFound;
        }
    }
    return kSuccess;
}

void Watch::printTable() {
    printNow(listing(client_.described(only_), style_));
}

void Watch::tellChanges() {
    client_.mirror().setOnChange([this](const Parameter& parameter) { show(parameter); });
}

// Until the connection is lost.
void Watch::follow() {
    BusSession& session = client_.session();
    Device& device = client_.device();
    while (!session.outputGone()) {
        if (stale_) {
            catchUp();
        }
        const auto message = session.receive(Clock::now() + (stale_ ? 0h : kTurn));
        if (message) {
            device.hear(*message);
        } else if (!session.isOpen()) {
            return;
        }
        client_.tellNews();
        stale_ = device.takeArrival() || stale_;
    }
}

void Watch::catchUp() {
    stale_ = !client_.device().read(names_, patience_);
    client_.tellReading(!stale_);
    patience_ = stale_ ? std::min(2 * patience_, kLongestPatience) : usualPatience_;
}

void Watch::show(const Parameter& parameter) {
    client_.tellNews();
    if (only_.empty() || only_.contains(parameter.descriptor.name)) {
        const auto now = std::chrono::system_clock::now();
        printNow(changeLine(parameter, now, style_));
    }
}

}  // namespace pallctl
