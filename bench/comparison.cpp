// The daemon beside what a designer could take instead, all in one run: an echo that does nothing,
// an echo that writes the daemon's messages and log lines, and a service of 36 properties on
// systemd's bus library where that is installed. Each program and its far end share one processor.
// Rounds alternate between the programs, so that all see the same moods of the machine. Runs inside
// a simulated frame, where port 15000, the daemon's files and its commands are its own.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "programs.h"
#include "subjects.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr size_t kRounds = 3;
constexpr size_t kGets = 5'000;
constexpr size_t kPipelined = 50'000;
constexpr size_t kOutstanding = 64;
constexpr size_t kSets = 1'000;
constexpr size_t kStarts = 15;
constexpr int kIdleSeconds = 60;
constexpr int kHeartbeatSeconds = 5;
constexpr useconds_t kPauseMicroseconds = 200'000;

enum Column { getMedian, get99, pipelinedRate, pipelinedCpu, setMedian, savedCpu, kColumns };
using Row = std::array<double, kColumns>;

double quantile(std::vector<double> values, double q) {
    std::sort(values.begin(), values.end());
    return values.at(static_cast<size_t>(q * static_cast<double>(values.size() - 1)));
}

double elapsed(Clock::time_point start) {
    return Microseconds(Clock::now() - start).count();
}

double cpuMicroseconds(const Peer& peer) {
    return static_cast<double>(peer.processorTime()) / 1e3;
}

// Round trips one at a time, in microseconds.
std::vector<double> measureRoundTrips(const Subject& subject, const Peer& peer, Request request,
                                      size_t count) {
    const std::unique_ptr<AnswerCounter> counter = subject.counter(request);
    std::vector<double> times;
    for (size_t i = 0; i < count; ++i) {
        const std::string bytes = subject.request(request, i);
        const Clock::time_point start = Clock::now();
        peer.send(bytes);
        waitFor(peer, *counter, 1);
        times.push_back(elapsed(start));
    }
    return times;
}

// Keeps kOutstanding requests in flight.
void pipeline(const Subject& subject, const Peer& peer) {
    const std::unique_ptr<AnswerCounter> counter = subject.counter(Request::get);
    const std::string request = subject.request(Request::get, 0);
    size_t due = kOutstanding;
    size_t sent = 0;
    for (size_t answered = 0; answered < kPipelined;) {
        std::string requests;
        for (; due > 0 && sent < kPipelined; --due, ++sent) {
            requests += request;
        }
        if (!requests.empty()) {
            peer.send(requests);
        }
        due = counter->count(peer.receive());
        answered += due;
    }
}

Row measure(const Subject& subject) {
    Row row = {};
    {
        const std::unique_ptr<Peer> peer = subject.start(Request::get, false);
        const std::vector<double> times = measureRoundTrips(subject, *peer, Request::get, kGets);
        row[getMedian] = quantile(times, 0.5);
        row[get99] = quantile(times, 0.99);
        const double cpu = cpuMicroseconds(*peer);
        const Clock::time_point start = Clock::now();
        pipeline(subject, *peer);
        row[pipelinedRate] = static_cast<double>(kPipelined) / elapsed(start);
        row[pipelinedCpu] = (cpuMicroseconds(*peer) - cpu) / static_cast<double>(kPipelined);
    }
    row[setMedian] = quantile(
        measureRoundTrips(subject, *subject.start(Request::set, false), Request::set, kSets), 0.5);
    const std::unique_ptr<Peer> peer = subject.start(Request::savedSet, false);
    const double cpu = cpuMicroseconds(*peer);
    measureRoundTrips(subject, *peer, Request::savedSet, kSets);
    row[savedCpu] = (cpuMicroseconds(*peer) - cpu) / static_cast<double>(kSets);
    return row;
}

// A figure of the kernel's account of a process (proc(5)), in KiB.
long readAccount(pid_t program, const std::string& file, const std::string& key) {
    std::ifstream account("/proc/" + std::to_string(program) + "/" + file);
    for (std::string line; std::getline(account, line);) {
        if (line.rfind(key, 0) == 0) {
            return std::atol(line.c_str() + key.size());
        }
    }
    return 0;
}

void printMemory(const Subject& subject) {
    const std::unique_ptr<Peer> peer = subject.start(Request::get, false);
    measureRoundTrips(subject, *peer, Request::get, 1);
    const long resident = readAccount(peer->program(), "smaps_rollup", "Rss:");
    pipeline(subject, *peer);
    std::printf("%-40s %8ld %8ld\n", subject.name().c_str(), resident,
                readAccount(peer->program(), "status", "VmHWM:"));
}

using Rows = std::vector<std::array<Row, kRounds>>;

double medianOf(const std::array<Row, kRounds>& rounds, Column column) {
    std::vector<double> values;
    for (const Row& row : rounds) {
        values.push_back(row[column]);
    }
    return quantile(values, 0.5);
}

// The median of the rounds' ratios.
double ratioOf(const std::array<Row, kRounds>& rounds, const std::array<Row, kRounds>& base,
               Column column) {
    std::vector<double> values;
    for (size_t round = 0; round < kRounds; ++round) {
        values.push_back(rounds[round][column] / base[round][column]);
    }
    return quantile(values, 0.5);
}

using Subjects = std::vector<std::unique_ptr<Subject>>;

void printRows(const Subjects& subjects, const Rows& rows) {
    std::printf(
        "\nRatios to the bare echo, medians of %zu rounds (and microseconds)\n%-40s %14s "
        "%14s %14s %10s %15s %10s\n",
        kRounds, "", "GET p50", "GET p99", "64 outstanding", "CPU us", "SET p50", "saved CPU us");
    for (size_t i = 0; i < subjects.size(); ++i) {
        const auto ratio = [&](Column column) { return ratioOf(rows[i], rows[0], column); };
        const auto value = [&](Column column) { return medianOf(rows[i], column); };
        std::printf(
            "%-40s %5.2f (%6.1f) %5.2f (%6.1f) %5.2f (%5.2f/us) %8.2f %6.2f (%6.1f) %10.1f\n",
            subjects[i]->name().c_str(), ratio(getMedian), value(getMedian), ratio(get99),
            value(get99), ratio(pipelinedRate), value(pipelinedRate), value(pipelinedCpu),
            ratio(setMedian), value(setMedian), value(savedCpu));
    }
    std::printf(
        "SET of the daemon to the echo with the same messages and log lines: %.2f; saved "
        "SET: %.1f us of processor time, of the same echo %.1f us\n",
        ratioOf(rows.back(), rows[1], setMedian), medianOf(rows.back(), savedCpu),
        medianOf(rows[1], savedCpu));
}

// All of them wait at once: they use next to nothing.
void printIdle(const Subjects& subjects) {
    std::vector<std::unique_ptr<Peer>> peers;
    std::vector<double> before;
    for (const auto& subject : subjects) {
        peers.push_back(subject->start(Request::get, true));
    }
    sleep(kHeartbeatSeconds);
    for (const auto& peer : peers) {
        before.push_back(cpuMicroseconds(*peer));
    }
    for (int second = 0; second < kIdleSeconds; second += kHeartbeatSeconds) {
        for (size_t i = 0; i < subjects.size(); ++i) {
            if (!subjects[i]->heartbeat().empty()) {
                peers[i]->send(subjects[i]->heartbeat());
            }
        }
        sleep(kHeartbeatSeconds);
    }
    std::printf("\nProcessor time of an idle minute\n");
    for (size_t i = 0; i < subjects.size(); ++i) {
        std::printf("%-40s %8.1f ms\n", subjects[i]->name().c_str(),
                    (cpuMicroseconds(*peers[i]) - before[i]) / 1e3);
    }
}

// Milliseconds from the start of the daemon until its login is here.
double measureStart(const std::string& daemon) {
    Peer peer(kBusPort);
    const Clock::time_point start = Clock::now();
    peer.start({daemon}, 0);
    peer.receive();
    return elapsed(start) / 1e3;
}

// Milliseconds of the commands that the daemon runs before its login on a default frame.
double measureCommands() {
    const Clock::time_point start = Clock::now();
    for (const char* command :
         {". /tmp/eeprom && echo $PRODUCT >/dev/null", "/etc/init.d/S50dropbear restart",
          "/etc/init.d/S56tcpsvd restart", "/etc/init.d/S81ambrix stop",
          "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'", "/etc/init.d/S81ambrix start &",
          "/vantor/bin/ambrix-shutoff.sh &"}) {
        // The services' own status does not matter here.
        [[maybe_unused]] const int status = std::system(command);
    }
    return elapsed(start) / 1e3;
}

// In turn, each after what the one before left in the background has ended.
void printStart(const std::string& daemon) {
    std::vector<double> starts;
    std::vector<double> commands;
    std::vector<double> ratios;
    for (size_t i = 0; i < kStarts; ++i) {
        usleep(kPauseMicroseconds);
        starts.push_back(measureStart(daemon));
        usleep(kPauseMicroseconds);
        commands.push_back(measureCommands());
        ratios.push_back(starts.back() / commands.back());
    }
    std::printf("\nStart to login %.1f ms, its commands alone %.1f ms: %.2f (medians of %zu)\n",
                quantile(starts, 0.5), quantile(commands, 0.5), quantile(ratios, 0.5), kStarts);
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc < 3) {
        std::fprintf(stderr,
                     "usage: comparison DAEMON ECHO [SERVICE] (inside a simulated frame)\n");
        return 2;
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    runOn(0);
    std::unique_ptr<Subject> daemon = makeDaemon(argv[1]);
    std::vector<RequestCost> costs;
    for (const Request request : {Request::get, Request::set, Request::savedSet}) {
        costs.push_back(
            measureCost(*daemon, request, "/tmp/bench-log-" + std::to_string(costs.size())));
    }
    Subjects subjects;
    for (const EchoKind kind : {EchoKind::bare, EchoKind::logging, EchoKind::gathering}) {
        subjects.push_back(makeEcho(argv[2], *daemon, costs, kind));
    }
    if (argc > 3 && std::filesystem::exists(argv[3])) {
        subjects.push_back(makePropertyService(argv[3], costs));
    }
    subjects.push_back(std::move(daemon));
    Rows rows(subjects.size());
    for (size_t round = 0; round < kRounds; ++round) {
        for (size_t i = 0; i < subjects.size(); ++i) {
            rows[i][round] = measure(*subjects[i]);
        }
    }
    printRows(subjects, rows);
    std::printf("\n%-40s %8s %8s\n", "Resident memory, KiB", "login", "peak");
    for (const auto& subject : subjects) {
        printMemory(*subject);
    }
    printIdle(subjects);
    printStart(argv[1]);
}
