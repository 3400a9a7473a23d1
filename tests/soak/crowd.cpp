#include "soaking/crowd.h"

#include <poll.h>
#include <signal.h>

#include <algorithm>
#include <limits>

#include "pallbus/broker/control_socket.h"

namespace soak {

using std::chrono::seconds;

namespace {

constexpr uint16_t kBusPort = 15000;
constexpr int kFirstID = 100;
constexpr size_t kMostOutstanding = 20;  // of one client
constexpr seconds kPatience{60};
constexpr seconds kLongestAnswer{30};
// The daemon comes back within two seconds, a client within one; what they then ask is answered.
constexpr seconds kAftermath{4};
// What the bus holds for a client that is behind is its memory for as long as it runs.
constexpr uint64_t kBusGrowthKiB = 8192;

Clock::duration secondsOf(double count) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(count));
}

std::vector<std::string> busCommand(uint64_t seed) {
    return {harness::programDirectory() / "pallbus", "--seed", std::to_string(seed)};
}

size_t growth(size_t start, size_t end) {
    return end > start ? end - start : 0;
}

}  // namespace

Crowd::Crowd(const Options& options)
    : options_(options), random_(options.seed), bus_(busCommand(options.seed)) {
    bus_.output().waitFor("listening on");
    for (size_t i = 0; i < options.clients; ++i) {
        clients_.emplace_back(kFirstID + static_cast<int>(i));
    }
}

Report Crowd::run() {
    gather();
    paused_ = false;
    phaseEnd_ = Clock::now() + secondsOf(std::min(20.0, options_.minutes * 60 / 5));
    pumpUntil([this] { return Clock::now() >= phaseEnd_; }, "the warm-up");
    busStart_ = footprintOf(bus_.proc());
    daemonStart_ = footprintOf(daemon_->proc());
    const Clock::time_point end = began_ + secondsOf(options_.minutes * 60);
    while (Clock::now() < end || phase_ != Phase::calm) {
        stepTrouble(Clock::now());
        pump();
    }
    settle();
    reportCounts();
    reportLines();
    reportFootprint("bus", busStart_, footprintOf(bus_.proc()),
                    std::max(kBusGrowthKiB, options_.growthKiB));
    reportFootprint("daemon", daemonStart_, footprintOf(daemon_->proc()), options_.growthKiB);
    stop();
    return report_;
}

// Its greeting shows everybody that the daemon is there and hears what is asked.
void Crowd::gather() {
    pumpUntil([this] { return allQuiet(); }, "all clients");
    daemon_.emplace();
    const auto greeted = [](const CrowdClient& each) { return each.counts().notifications > 0; };
    pumpUntil([&] { return std::ranges::all_of(clients_, greeted); }, "the daemon");
}

// One turn of everything that does not wait.
void Crowd::pump() {
    const Clock::time_point now = Clock::now();
    for (CrowdClient& client : clients_) {
        client.step(kBusPort, now);
        client.giveUpOn(now - kLongestAnswer);
    }
    receive(now);
    sendDue(now);
}

void Crowd::receive(Clock::time_point now) {
    std::vector<pollfd> ready{{log_.descriptor(), POLLIN, 0}};
    for (const CrowdClient& client : clients_) {
        ready.push_back({client.descriptor(), POLLIN, 0});
    }
    ::poll(ready.data(), ready.size(), 5);
    if (ready[0].revents != 0) {
        log_.takeAll();
    }
    for (size_t i = 0; i < clients_.size(); ++i) {
        if (ready[i + 1].revents != 0) {
            clients_[i].receive(now);
        }
    }
}

void Crowd::pumpUntil(const std::function<bool()>& holds, const std::string& what) {
    for (const auto end = Clock::now() + kPatience; !holds();) {
        if (Clock::now() > end) {
            throw harness::TimedOut("waited in vain for " + what);
        }
        pump();
    }
}

bool Crowd::allQuiet() const {
    return std::ranges::all_of(clients_, [](const CrowdClient& each) { return each.isQuiet(); });
}

void Crowd::sendDue(Clock::time_point now) {
    const auto interval = std::chrono::nanoseconds(static_cast<int64_t>(1e9 / options_.rate));
    for (; now >= nextSend_; nextSend_ += interval) {
        if (paused_) {
            continue;
        }
        const auto last = static_cast<int64_t>(clients_.size()) - 1;
        CrowdClient& client = clients_[static_cast<size_t>(random_.between(0, last))];
        if (client.isReady() && client.outstanding() < kMostOutstanding) {
            client.send(maker_.amongOthers(), now);
        } else {
            ++notSent_;
        }
    }
}

void Crowd::stepTrouble(Clock::time_point now) {
    if (now < phaseEnd_) {
        return;
    }
    switch (phase_) {
        case Phase::calm:
            beginTrouble(now);
            break;
        case Phase::trouble:
            tellBus(deed_->end);
            phase_ = Phase::aftermath;
            phaseEnd_ = now + kAftermath;
            break;
        case Phase::aftermath:
            setTrouble(false);
            phase_ = Phase::calm;
            phaseEnd_ = now + random_.milliseconds(500, 2000);
            break;
    }
}

// Those who may lose something know it before the bus does.
void Crowd::beginTrouble(Clock::time_point now) {
    deed_ = &random_.pick(troubleDeeds());
    victim_ = static_cast<size_t>(random_.between(0, static_cast<int64_t>(clients_.size()) - 1));
    ++deeds_[deed_->name];
    setTrouble(true);
    tellBus(deed_->begin);
    tellBus(deed_->also);
    phase_ = Phase::trouble;
    phaseEnd_ = now + deed_->lasts;
}

void Crowd::tellBus(const char* words) const {
    if (words == nullptr) {
        return;
    }
    const std::string line = withID(words, clients_[victim_].connectionID());
    const auto reply = pallbus::broker::sendCommand(kBusPort, line);
    if (!reply || !reply->ok) {
        throw std::runtime_error("the bus does not do '" + line +
                                 "': " + (reply ? reply->text : "it is gone"));
    }
}

void Crowd::setTrouble(bool trouble) {
    if (deed_->victims == Victims::oneClient) {
        clients_[victim_].setTrouble(trouble);
    } else if (deed_->victims == Victims::everybody) {
        for (CrowdClient& client : clients_) {
            client.setTrouble(trouble);
        }
    }
}

// In the end everybody is served.
void Crowd::settle() {
    paused_ = true;
    pumpUntil([this] { return allQuiet(); }, "all answers");
    for (CrowdClient& client : clients_) {
        client.send(maker_.get({"systemName"}), Clock::now());
    }
    pumpUntil([this] { return allQuiet(); }, "an answer for everybody");
}

void Crowd::stop() {
    daemon_->signal(SIGTERM);
    if (const int status = daemon_->waitForEnd(); status != 0) {
        report_.fail("the daemon ended with status " + std::to_string(status));
    }
    bus_.signal(SIGTERM);
    if (const int status = bus_.waitForEnd(); status != 0) {
        report_.fail("the bus ended with status " + std::to_string(status));
    }
    if (const std::string said = bus_.error().text(); !said.empty()) {
        report_.fail("the bus said: " + said);
    }
}

void Crowd::reportCounts() {
    const auto sum = [this](size_t Counts::*kind) {
        size_t all = 0;
        for (const CrowdClient& client : clients_) {
            all += client.counts().*kind;
        }
        return all;
    };
    report_.row("duration", inSeconds(Clock::now() - began_));
    report_.row("clients", clients_.size());
    report_.row("requests", sum(&Counts::requests));
    report_.row("came due for a client without connection, not sent", notSent_);
    report_.row("answers due", sum(&Counts::answersDue));
    report_.row("answers", sum(&Counts::answers));
    report_.row("lost or damaged by trouble that was told", sum(&Counts::excused));
    report_.expect("answers lost otherwise", sum(&Counts::lost), 0);
    report_.expect("answers that nobody asked for", sum(&Counts::unexpected), 0);
    report_.expect("answers with another status", sum(&Counts::wrongStatus), 0);
    report_.row("notifications", sum(&Counts::notifications));
    report_.expect("sets answered without a notification", sum(&Counts::unannounced), 0);
}

void Crowd::reportLines() {
    CrowdClient::Line all;
    size_t least = std::numeric_limits<size_t>::max();
    size_t most = 0;
    for (const CrowdClient& client : clients_) {
        all.connections += client.line().connections;
        all.overheard += client.line().overheard;
        all.damaged += client.line().damaged;
        least = std::min(least, client.counts().answers);
        most = std::max(most, client.counts().answers);
    }
    report_.row("answers to one client, least / most",
                std::to_string(least) + " / " + std::to_string(most));
    report_.row("requests of others overheard", all.overheard);
    report_.row("damaged beyond recognition", all.damaged);
    report_.row("reconnects of clients", all.connections - clients_.size());
    size_t troubles = 0;
    for (const auto& [name, count] : deeds_) {
        troubles += count;
    }
    report_.row("troubles", troubles);
    for (const auto& [name, count] : deeds_) {
        report_.row("- " + name, count);
    }
}

void Crowd::reportFootprint(const std::string& whose, const Footprint& start, const Footprint& end,
                            uint64_t growthKiB) {
    const auto pair = [](size_t first, size_t last) {
        return std::to_string(first) + " / " + std::to_string(last);
    };
    report_.row(whose + ": resident memory, KiB, start / end",
                pair(start.residentKiB, end.residentKiB));
    report_.row(whose + ": of it anonymous, KiB, start / end",
                pair(start.anonymousKiB, end.anonymousKiB));
    report_.row(whose + ": descriptors, start / end", pair(start.descriptors, end.descriptors));
    if (growth(start.anonymousKiB, end.anonymousKiB) > growthKiB) {
        report_.fail(whose + ": memory grew");
    }
    if (growth(start.descriptors, end.descriptors) > 0) {
        report_.fail(whose + ": descriptors were left open");
    }
}

}  // namespace soak
