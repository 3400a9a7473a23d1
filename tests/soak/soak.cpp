// pump() is one turn of everything: the clients, the faults and the observers, none of which waits.
// The phases of a run (warm-up, load, settling, end) only decide what pump() may send and break,
// and what is checked between two turns. Files are compared when all requests are answered and no
// fault is active.

#include "soak_lib/soak.h"

#include <poll.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"

namespace soak {

using std::chrono::seconds;

namespace {

constexpr double kNetworkRestart = 0.2;  // seconds
constexpr seconds kTimeout{60};
constexpr seconds kMaxWarmUp{60};
constexpr seconds kComparisonInterval{20};
// Memory of the bus that once held the messages for a client that did not read.
constexpr size_t kBusGrowthKiB = 8192;
constexpr size_t kMaxReportedBytes = 4000;

Clock::duration toDuration(double secondCount) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(secondCount));
}

std::vector<std::string> busCommand(uint64_t seed) {
    return {harness::programDirectory() / "pallbus", "--seed", std::to_string(seed)};
}

double readProcessorMilliseconds(pid_t process) {
    clockid_t clock = 0;
    timespec time{};
    if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0) {
        pallframe::simulation::fail("processor time");
    }
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

bool hasEnded(const std::filesystem::path& process) {
    const Footprint footprint = readFootprint(process);
    return footprint.threads == 0 || footprint.residentKiB == 0;
}

}  // namespace

Soak::Soak(const Options& options)
    : options_(options),
      random_(options.seed),
      bus_(busCommand(options.seed)),
      clients_(options.clients, options.rate, random_, settings_) {
    pallframe::simulation::setPause(root_, "S40network", kNetworkRestart);
    start();
}

// The clients come first, so that they see the daemon connect.
void Soak::start() {
    bus_.output().waitFor("listening on");
    pumpUntil([this] { return clients_.areReady(); }, "all clients");
    daemon_.emplace();
    pumpUntil([this] { return clients_.greetings() > 0; }, "the daemon");
}

void Soak::pump() {
    std::vector<pollfd> watched{{log_.descriptor(), POLLIN, 0}, {polls_.descriptor(), POLLIN, 0}};
    clients_.appendDescriptors(watched);
    ::poll(watched.data(), watched.size(), 5);
    const Clock::time_point now = Clock::now();
    polls_.takeEvents(now);
    log_.takeLines();
    clients_.step(now);
    busFaults_.step(now, sending_);
    if (faulty_) {
        environment_.step(now, clients_.isNetworkSetPending() || busFaults_.mayLoseAnswers());
    }
    clients_.sendDue(now, !sending_, environment_.isNetworkSettled(now));
}

void Soak::pumpFor(Clock::duration time) {
    for (const auto end = Clock::now() + time; Clock::now() < end;) {
        pump();
    }
}

void Soak::pumpUntil(const std::function<bool()>& holds, const std::string& what) {
    for (const auto end = Clock::now() + kTimeout; !holds();) {
        if (Clock::now() > end) {
            throw harness::TimedOut("timed out waiting for " + what);
        }
        pump();
    }
}

Report Soak::run() {
    const Clock::time_point end = began_ + toDuration(options_.minutes * 60);
    sending_ = faulty_ = true;
    pumpFor(std::min<Clock::duration>(kMaxWarmUp, toDuration(options_.minutes * 60 / 5)));
    compareFiles();
    busStart_ = readFootprint(bus_.proc());
    daemonStart_ = readFootprint(daemon_->proc());
    while (Clock::now() < end) {
        sending_ = true;
        pumpFor(std::min<Clock::duration>(kComparisonInterval, end - Clock::now()));
        compareFiles();
    }
    settle();
    stop();
    report();
    return report_;
}

// Leaves the clients paused.
void Soak::compareFiles() {
    sending_ = false;
    pumpUntil([this] { return busFaults_.isIdle() && clients_.areQuiet(); }, "all answers");
    ++comparisons_;
    for (const std::string& difference : settings_.compare(root_)) {
        report_.fail(difference);
    }
}

void Soak::settle() {
    faulty_ = false;
    environment_.restoreAll(Clock::now());
    pumpFor(EnvironmentFaults::kPollTime);
    setEverything();
    checkEdit();
    clients_.getFromAll();
    pumpUntil([this] { return clients_.areQuiet(); }, "an answer to each client");
    busEnd_ = readFootprint(bus_.proc());
    daemonEnd_ = readFootprint(daemon_->proc());
    for (const std::string& child : listChildren(daemon_->proc())) {
        report_.fail("a child of the daemon was left: " + child);
    }
}

// After this, every value in the files is known.
void Soak::setEverything() {
    environment_.editNetwork(Clock::now());
    pumpFor(EnvironmentFaults::kPollTime);
    for (const Parameter& parameter : writableParameters()) {
        clients_.set(parameter);
    }
    compareFiles();
    if (!settings_.isNetworkKnown()) {
        report_.fail("not every network setting was acknowledged");
    }
}

// The daemon has to show what another program writes to network.conf.
void Soak::checkEdit() {
    environment_.editNetwork(Clock::now());
    pumpFor(EnvironmentFaults::kPollTime);
    clients_.get({ExpectedSettings::kNetwork.begin(), ExpectedSettings::kNetwork.end()});
    compareFiles();
    for (const char* const name : ExpectedSettings::kNetwork) {
        const std::string expected = settings_.value(name).value_or("");
        if (clients_.lastValue(name) != expected) {
            report_.fail(std::string(name) + " is " + clients_.lastValue(name) +
                         " after network.conf was edited to " + expected);
        }
    }
}

void Soak::stop() {
    stopProcess(*daemon_, "the daemon");
    for (const std::string& process : listSiblings()) {
        report_.fail("a process was left in the frame: " + process);
    }
    stopProcess(bus_, "the bus");
    if (const std::string errors = bus_.error().text(); !errors.empty()) {
        report_.fail("the bus reported: " + errors);
    }
}

// The log and the bus are served until the process has ended.
void Soak::stopProcess(harness::Process& process, const std::string& name) {
    process.signal(SIGTERM);
    pumpUntil([&process] { return hasEnded(process.proc()); }, "the end of " + name);
    const int status = process.waitForEnd();
    if (status == 0) {
        return;
    }
    const std::string errors = process.error().text();
    report_.fail(name + " ended with status " + std::to_string(status) + ":\n" +
                 errors.substr(errors.size() - std::min(errors.size(), kMaxReportedBytes)));
}

void Soak::report() {
    const std::string commands = root_.read(pallframe::simulation::paths::kCommands);
    report_.row("duration", formatSeconds(Clock::now() - began_));
    clients_.report(report_);
    busFaults_.report(report_);
    report_.row("actions around the daemon", environment_.actions());
    report_.row("comparisons of state file and network.conf", comparisons_);
    report_.row("commands run", static_cast<size_t>(std::ranges::count(commands, '\n')));
    log_.report(report_);
    polls_.report(report_);
    reportGrowth(report_, "daemon", daemonStart_, daemonEnd_, options_.growthKiB);
    reportGrowth(report_, "bus", busStart_, busEnd_, std::max(kBusGrowthKiB, options_.growthKiB));
}

Report Soak::idle() {
    pumpUntil([this] { return polls_.polls() > 1; }, "the first polls");
    const size_t polls = polls_.polls();
    const double before = readProcessorMilliseconds(daemon_->pid());
    pumpFor(toDuration(options_.idleSeconds));
    std::array<char, 32> spent{};
    std::snprintf(spent.data(), spent.size(), "%.1f ms",
                  readProcessorMilliseconds(daemon_->pid()) - before);
    report_.row("polls", polls_.polls() - polls);
    report_.row("processor time of the daemon", spent.data());
    stop();
    return report_;
}

}  // namespace soak
