// One fault at a time: it begins with the lines of its table row, ends with "clear", and is over
// when all clients are connected and, if the daemon was disconnected, the daemon has greeted the
// bus again. The excuse covers all of that, so that a request sent outside of it has to be
// answered correctly, and each further greeting is a reconnect without a cause.

#include "soak_lib/bus_faults.h"

#include <algorithm>
#include <array>
#include <stdexcept>

#include "harness/deadline.h"
#include "pallbus/broker/control_socket.h"

namespace soak {

namespace {

using namespace std::chrono_literals;
using enum Victims;
using enum DaemonLink;

constexpr auto kMinRecovery = 500ms;
constexpr auto kMaxRecovery = 60s;

// A corrupted length can swallow the messages that follow, so a connection with corrupted bytes is
// closed at the end. The daemon leaves a silent bus after ten seconds.
constexpr std::array<BusFault, 17> kFaults{{
    {"delay", 3, none, stays, 3s, "delay 5ms-50ms"},
    {"fragment to daemon", 4, none, stays, 3s, "fragment daemon"},
    {"fragment to a client", 2, none, stays, 2s, "fragment client ID"},
    {"coalesce", 3, none, stays, 3s, "coalesce 5 to daemon"},
    {"daemon not read", 3, none, stays, 2s, "stall daemon"},
    {"client not read", 2, none, stays, 3s, "stall client ID"},
    {"drop of a client", 2, oneClient, stays, 3s, "drop 20% client ID"},
    {"corrupt to a client", 2, oneClient, stays, 2s, "corrupt 1 to client ID", "close client ID"},
    {"client closed", 2, oneClient, stays, 0s, "close client ID"},
    {"client truncated", 2, oneClient, stays, 1s, "truncate client ID"},
    {"blackhole to a client", 1, oneClient, stays, 5s, "blackhole client ID"},
    {"drop from daemon", 2, allClients, stays, 3s, "drop 10% from daemon"},
    {"corrupt to daemon", 3, allClients, isCut, 2s, "corrupt 1 to daemon", "close daemon"},
    {"daemon closed", 4, allClients, isCut, 0s, "close daemon"},
    {"daemon truncated", 3, allClients, isCut, 5s, "truncate object system daemon", nullptr, true},
    {"refused", 3, allClients, isCut, 3s, "refuse\nclose daemon"},
    {"blackhole to daemon", 1, allClients, isLeft, 20s, "blackhole daemon"},
}};

}  // namespace

std::span<const BusFault> busFaults() {
    return kFaults;
}

std::string nameClient(std::string commands, int connectionID) {
    if (const size_t at = commands.find("ID"); at != std::string::npos) {
        commands.replace(at, 2, std::to_string(connectionID));
    }
    return commands;
}

void BusFaults::step(Clock::time_point now, bool mayBegin) {
    noticeReconnect(now);
    switch (phase_) {
        case Phase::idle:
            if (mayBegin && now >= next_) {
                begin(now);
            }
            break;
        case Phase::active:
            if (now >= end_ || (fault_->daemon != stays && !reconnectExpected_ && !fault_->end)) {
                end(now);
            }
            break;
        case Phase::recovery:
            if (hasRecovered(now)) {
                setExcused(false);
                phase_ = Phase::idle;
                next_ = now + random_.milliseconds(500, 4000);
            }
            break;
    }
}

// The victims are excused before the bus can lose anything.
void BusFaults::begin(Clock::time_point now) {
    fault_ = &random_.pick(kFaults);
    victim_ = static_cast<size_t>(random_.between(0, static_cast<int64_t>(clients_.size()) - 1));
    ++counts_[fault_->name];
    setExcused(true);
    if (fault_->daemon != stays && !fault_->end) {
        expectReconnect(now);
    }
    inject(fault_->begin);
    if (fault_->sendsPartialSet) {
        clients_.sendPartialSet();
    }
    phase_ = Phase::active;
    end_ = now + fault_->lasts;
}

void BusFaults::end(Clock::time_point now) {
    if (fault_->daemon == isLeft && reconnectExpected_) {
        ++unnoticedSilences_;
        --reconnects_;
        reconnectExpected_ = false;
    }
    reachableSince_ = now;
    inject("clear");
    if (fault_->end) {
        if (fault_->daemon != stays) {
            expectReconnect(now);
        }
        inject(fault_->end);
    }
    phase_ = Phase::recovery;
    end_ = now;
}

void BusFaults::expectReconnect(Clock::time_point now) {
    reconnectExpected_ = true;
    ++reconnects_;
    greetingsBefore_ = clients_.greetings();
    reachableSince_ = now;
}

// A daemon that leaves by itself had a bus to connect to all the time.
void BusFaults::noticeReconnect(Clock::time_point now) {
    if (!reconnectExpected_ || clients_.greetings() == greetingsBefore_) {
        return;
    }
    reconnectExpected_ = false;
    if (fault_->daemon == isCut) {
        longestReconnect_ = std::max(longestReconnect_, now - reachableSince_);
    }
}

bool BusFaults::hasRecovered(Clock::time_point now) const {
    if (now > end_ + kMaxRecovery) {
        throw harness::TimedOut(std::string("not all clients and the daemon reconnected after: ") +
                                fault_->name);
    }
    return now >= end_ + kMinRecovery && !reconnectExpected_ && clients_.areReady();
}

void BusFaults::inject(const char* commands) const {
    const std::string script = nameClient(commands, clients_.connectionID(victim_));
    const auto reply = pallbus::broker::sendCommand(kBusPort, script);
    if (!reply || !reply->ok) {
        throw std::runtime_error("the bus rejects '" + script +
                                 "': " + (reply ? reply->text : "it has gone"));
    }
}

void BusFaults::setExcused(bool excused) {
    if (fault_->victims == allClients) {
        clients_.setAllExcused(excused);
    } else if (fault_->victims == oneClient) {
        clients_.setExcused(victim_, excused);
    }
}

void BusFaults::report(Report& report) const {
    size_t total = 0;
    for (const auto& [name, count] : counts_) {
        total += count;
    }
    report.row("faults on the bus", total);
    for (const auto& [name, count] : counts_) {
        report.row("- " + name, count);
    }
    report.expect("reconnects of the daemon", clients_.greetings() - 1, reconnects_);
    report.row("longest reconnect", formatSeconds(longestReconnect_));
    report.expect("silences of the bus not noticed", unnoticedSilences_, 0);
}

}  // namespace soak
