#include "soaking/soak.h"

#include <poll.h>
#include <signal.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/paths.h"
#include "pallframe/simulation/stub_programs.h"
#include "soaking/audit.h"
#include "systemstate/network_settings.h"

namespace soak {

using std::chrono::duration_cast;
using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr double kNetworkRestart = 0.2;  // seconds
constexpr seconds kPatience{60};
constexpr seconds kBetweenAudits{20};
constexpr seconds kLongestAnswer{30};
constexpr size_t kBatteryCycle = 151;

Clock::duration secondsOf(double count) {
    return duration_cast<Clock::duration>(std::chrono::duration<double>(count));
}

double processorMilliseconds(pid_t process) {
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        pallframe::simulation::fail("processor time");
    }
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

std::string lastOf(const std::string& text) {
    constexpr size_t kEnough = 4000;
    return text.size() > kEnough ? text.substr(text.size() - kEnough) : text;
}

bool hasEnded(const std::filesystem::path& process) {
    return footprintOf(process).threads == 0 || footprintOf(process).residentKiB == 0;
}

}  // namespace

Soak::Soak(const Options& options)
    : options_(options),
      random_(options.seed),
      traffic_(random_, book_, mischief_, options.idleSeconds > 0 ? 0 : options.rate) {
    pallframe::simulation::setPause(tree_, "S40network", kNetworkRestart);
}

// One turn of everything that does not wait.
void Soak::pump() {
    const Bus& bus = traffic_.bus();
    std::array<pollfd, 4> ready{{
        {bus.isConnected() ? -1 : bus.listener(), POLLIN, 0},
        {traffic_.isReading() ? bus.connection() : -1, POLLIN, 0},
        {log_.descriptor(), POLLIN, 0},
        {polls_.descriptor(), POLLIN, 0},
    }};
    ::poll(ready.data(), ready.size(), 5);
    const Clock::time_point now = Clock::now();
    if (ready[3].revents != 0) {
        polls_.takeEvents(now);
    }
    if (ready[2].revents != 0) {
        log_.takeAll();
    }
    if (ready[1].revents != 0) {
        traffic_.receive(now);
    }
    if (ready[0].revents != 0) {
        traffic_.acceptConnection(now);
    }
    traffic_.step(now, paused_);
    traffic_.giveUpOn(now - kLongestAnswer);
    if (!peaceful_) {
        mischief_.step(now, traffic_.ledger().networkSetOutstanding());
    }
}

void Soak::pumpFor(Clock::duration time) {
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
        pump();
    }
}

void Soak::pumpUntil(const std::function<bool()>& holds, const std::string& what) {
    for (const auto end = Clock::now() + kPatience; !holds();) {
        if (Clock::now() > end) {
            throw harness::TimedOut("waited in vain for " + what);
        }
        pump();
    }
}

Report Soak::run() {
    const Clock::time_point end = began_ + secondsOf(options_.minutes * 60);
    warmUp();
    live(end);
    settle();
    stop();
    reportTraffic();
    reportPolls();
    reportFootprints();
    return report_;
}

void Soak::warmUp() {
    paused_ = peaceful_ = false;
    pumpFor(std::min(secondsOf(60), secondsOf(options_.minutes * 60 / 5)));
    checkBooks();
    start_ = footprintOf(process());
}

void Soak::live(Clock::time_point end) {
    while (Clock::now() < end) {
        pumpFor(std::min<Clock::duration>(kBetweenAudits, end - Clock::now()));
        checkBooks();
    }
}

// All requests answered, nothing under way: what is in the files now is what counts.
void Soak::checkBooks() {
    paused_ = true;
    pumpUntil([this] { return traffic_.isQuiet(); }, "all answers");
    ++audits_;
    for (const std::string& difference : audit(tree_, traffic_.ledger(), book_)) {
        report_.fail(difference);
    }
    paused_ = false;
}

void Soak::settle() {
    paused_ = true;
    peaceful_ = true;
    mischief_.putRight(Clock::now());
    pumpUntil([this] { return traffic_.isQuiet(); }, "all answers");
    pumpFor(Mischief::kSeen);
    setEverything();
    editLast();
    end_ = footprintOf(process());
    for (const std::string& child : childrenOf(process())) {
        report_.fail("a child of the daemon was left: " + child);
    }
}

// From here on the books know everything that is in the files.
void Soak::setEverything() {
    mischief_.editNetwork(Clock::now());
    pumpFor(Mischief::kSeen);
    for (const Parameter& parameter : writableParameters()) {
        traffic_.set(parameter, Clock::now());
    }
    checkBooks();
    paused_ = true;
    if (!book_.allKnown()) {
        report_.fail("not every network setting was acknowledged");
    }
}

// The other way round: what somebody else writes is what the device then shows.
void Soak::editLast() {
    mischief_.editNetwork(Clock::now());
    pumpFor(Mischief::kSeen);
    traffic_.get({"ipAddress", "netmask", "gateway"}, Clock::now());
    checkBooks();
    paused_ = true;
    for (const char* const name : {"ipAddress", "netmask", "gateway"}) {
        const uint32_t due = book_.settings().at(*SettingsBook::place(name)).value_or(0);
        if (traffic_.lastGot(name) != std::to_string(due)) {
            report_.fail(std::string(name) + " is " + traffic_.lastGot(name) +
                         " after network.conf was edited to " + std::to_string(due));
        }
    }
}

void Soak::stop() {
    traffic_.expectEnd();
    daemon_.signal(SIGTERM);
    pumpUntil([this] { return hasEnded(process()); }, "the end of the daemon");
    if (const int status = daemon_.waitForEnd(); status != 0) {
        report_.fail("the daemon ended with status " + std::to_string(status) +
                     ", its last words:\n" + lastOf(daemon_.error().text()));
    }
    for (const std::string& stray : siblings()) {
        report_.fail("a process was left in the frame: " + stray);
    }
}

void Soak::reportTraffic() {
    const Counts& counts = traffic_.ledger().counts();
    const Traffic::Line& line = traffic_.line();
    report_.row("duration", inSeconds(Clock::now() - began_));
    report_.row("requests", counts.requests);
    report_.row("came due during an outage, not sent", line.duringOutage);
    report_.row("answers due", counts.answersDue);
    report_.row("answers", counts.answers);
    report_.row("answers still due when the connection was cut", counts.cutOff);
    report_.expect("answers lost while it stood", counts.lost, 0);
    report_.expect("answers that nobody asked for", counts.unexpected, 0);
    report_.expect("answers with another status", counts.wrongStatus, 0);
    report_.expect("answers with another value than was set", counts.wrongValue, 0);
    report_.row("notifications", counts.notifications);
    report_.expect("sets answered without a notification", counts.unannounced, 0);
    report_.row("outages of the bus", line.outages);
    report_.row("reconnects", line.connections - 1);
    report_.row("longest reconnect", inSeconds(line.longestReconnect));
    report_.expect("connections left without a reason", line.leftByItself, 0);
    report_.expect("silences of the bus not noticed", line.stayedOnSilence, 0);
    report_.row("deeds around the daemon", mischief_.deeds());
    report_.row("audits of state file and network.conf", audits_);
    report_.row("commands run", static_cast<size_t>(std::ranges::count(
                                    tree_.read(pallframe::simulation::paths::kCommands), '\n')));
    report_.row("log lines, critical / error / warning",
                std::to_string(log_.lines(LOG_CRIT)) + " / " + std::to_string(log_.lines(LOG_ERR)) +
                    " / " + std::to_string(log_.lines(LOG_WARNING)));
}

void Soak::reportPolls() {
    report_.row("polls", polls_.polls());
    report_.row("longest gap between polls", inSeconds(polls_.longestGap()));
    const auto& samplings = polls_.batterySamplings();
    report_.row("battery samplings", samplings.size());
    for (size_t i = 1; i < samplings.size(); ++i) {
        if (samplings[i] - samplings[i - 1] != kBatteryCycle) {
            report_.fail("battery sampled again after " +
                         std::to_string(samplings[i] - samplings[i - 1]) + " polls");
        }
    }
    if (samplings.empty() || samplings.size() != (polls_.polls() - 1) / kBatteryCycle + 1) {
        report_.fail("battery samplings do not fit the polls");
    }
}

void Soak::reportFootprints() {
    const auto pair = [this](const char* what, size_t Footprint::*field) {
        report_.row(what, std::to_string(start_.*field) + " / " + std::to_string(end_.*field));
        return end_.*field > start_.*field ? end_.*field - start_.*field : 0;
    };
    // What is not anonymous are pages of the program that had not been needed before.
    pair("resident memory, KiB, start / end", &Footprint::residentKiB);
    if (pair("of it anonymous, KiB, start / end", &Footprint::anonymousKiB) > options_.growthKiB) {
        report_.fail("memory grew");
    }
    if (pair("descriptors, start / end", &Footprint::descriptors) > 0) {
        report_.fail("descriptors were left open");
    }
    if (pair("threads, start / end", &Footprint::threads) > 0) {
        report_.fail("threads were left");
    }
}

Report Soak::idle() {
    pumpUntil([this] { return polls_.polls() > 1; }, "the first polls");
    const size_t polls = polls_.polls();
    const double before = processorMilliseconds(daemon_.pid());
    pumpFor(secondsOf(options_.idleSeconds));
    std::array<char, 32> spent{};
    std::snprintf(spent.data(), spent.size(), "%.1f ms",
                  processorMilliseconds(daemon_.pid()) - before);
    report_.row("polls", polls_.polls() - polls);
    report_.row("processor time of the daemon", spent.data());
    stop();
    return report_;
}

}  // namespace soak
