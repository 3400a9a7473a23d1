// Whole-process round trips: the unmodified daemon on one end of a loopback connection, this
// program as the bus on the other, each scenario beside a bare echo of the same sizes. Runs inside
// a simulated frame, where port 15000 and the daemon's files are its own.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "peer.h"
#include "programs.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr uint16_t kBusPort = 15000;

std::string frame(const std::string& type, const std::string& data) {
    const std::string payload = "[\"" + type + "\", \"system\", 5, 0, 0]\n" + data;
    return std::to_string(payload.size()) + ":" + payload + ";";
}

std::string getRequest(const std::string& names) {
    return frame("GET", R"({"id":"1@bench","param":{"objectName":[)" + names + "]}}");
}

// Nothing on a default frame reacts to this parameter and it is not saved: what is timed is the
// handling, its announcement and its log lines.
std::string setRequest(int value) {
    return frame("SET", R"({"id":"1@bench","param":{"activeKeli":)" + std::to_string(value) + "}}");
}

// Counts complete answers in what arrives, in pieces of any size.
class AnswerCounter {
  public:
    virtual ~AnswerCounter() = default;
    virtual size_t count(const std::string& bytes) = 0;
};

// The daemon's frames of one message type; its heartbeats and other traffic do not count.
class FrameCounter : public AnswerCounter {
  public:
    explicit FrameCounter(std::string type) : start_("[\"" + type + "\"") {}

    size_t count(const std::string& bytes) override {
        pending_ += bytes;
        size_t position = 0;
        size_t counted = 0;
        for (size_t colon; (colon = pending_.find(':', position)) != std::string::npos;) {
            const size_t length = std::stoul(pending_.substr(position, colon - position));
            const size_t next = colon + 1 + length + 1;
            if (next > pending_.size()) {
                break;
            }
            counted += pending_.compare(colon + 1, start_.size(), start_) == 0 ? 1U : 0U;
            position = next;
        }
        pending_.erase(0, position);
        return counted;
    }

  private:
    std::string start_;
    std::string pending_;
};

class ByteCounter : public AnswerCounter {
  public:
    explicit ByteCounter(size_t answer) : answer_(answer) {}

    size_t count(const std::string& bytes) override {
        received_ += bytes.size();
        const size_t counted = received_ / answer_;
        received_ %= answer_;
        return counted;
    }

  private:
    size_t answer_;
    size_t received_ = 0;
};

// One request and what completes it.
struct Scenario {
    const char* name;
    std::vector<std::string> requests;  // sent in turn
    std::string answerType;
    size_t answers;      // frames of that type until the round trip is complete
    size_t outstanding;  // 1: one at a time; more: kept in flight, and the rate counts
};

std::vector<Scenario> scenarios() {
    const std::string three = R"("ipAddress","netmask","gateway")";
    const std::string one = getRequest(R"("ipAddress")");
    std::string burst;
    for (int i = 0; i < 64; ++i) {
        burst += one;
    }
    return {
        {"GET", {one}, "RSP", 1, 1},
        {"GET of three names", {getRequest(three)}, "RSP", 3, 1},
        {"SET until NOT", {setRequest(1), setRequest(0)}, "NOT", 1, 1},
        {"SET until RSP", {setRequest(1), setRequest(0)}, "RSP", 1, 1},
        {"64 GETs in one segment", {burst}, "RSP", 64, 1},
        {"64 GETs outstanding", {one}, "RSP", 1, 64},
    };
}

struct Times {
    std::vector<double> roundTrips;  // microseconds
    double perSecond = 0;
    double processorTime = 0;  // microseconds of the program per request

    double quantile(double q) {
        std::sort(roundTrips.begin(), roundTrips.end());
        return roundTrips.at(static_cast<size_t>(q * static_cast<double>(roundTrips.size() - 1)));
    }
};

void waitFor(Peer& peer, AnswerCounter& counter, size_t answers) {
    for (size_t got = 0; got < answers;) {
        got += counter.count(peer.receive());
    }
}

void oneAtATime(Peer& peer, AnswerCounter& counter, const Scenario& scenario, size_t count,
                Times& times) {
    for (size_t i = 0; i < count; ++i) {
        const Clock::time_point start = Clock::now();
        peer.send(scenario.requests[i % scenario.requests.size()]);
        waitFor(peer, counter, scenario.answers);
        times.roundTrips.push_back(Microseconds(Clock::now() - start).count());
    }
}

void keptInFlight(Peer& peer, AnswerCounter& counter, const Scenario& scenario, size_t count) {
    size_t sent = 0;
    size_t answered = 0;
    for (size_t due = scenario.outstanding; answered < count;) {
        std::string requests;
        for (; due > 0 && sent < count; --due, ++sent) {
            requests += scenario.requests[0];
        }
        if (!requests.empty()) {
            peer.send(requests);
        }
        due = counter.count(peer.receive());
        answered += due;
    }
}

void measure(Peer& peer, AnswerCounter& counter, const Scenario& scenario, size_t count,
             Times& times) {
    const int64_t processorStart = peer.processorTime();
    const Clock::time_point start = Clock::now();
    if (scenario.outstanding == 1) {
        oneAtATime(peer, counter, scenario, count, times);
    } else {
        keptInFlight(peer, counter, scenario, count);
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    times.perSecond = std::max(times.perSecond, static_cast<double>(count) / seconds);
    times.processorTime = static_cast<double>(peer.processorTime() - processorStart) / 1e3 /
                          static_cast<double>(count);
}

// What the daemon sends for one round trip, counted once the traffic of the start has settled.
size_t answerSize(Peer& daemon, const Scenario& scenario) {
    FrameCounter counter(scenario.answerType);
    size_t size = 0;
    daemon.send(scenario.requests[0]);
    for (size_t got = 0; got < scenario.answers;) {
        const std::string bytes = daemon.receive();
        size += bytes.size();
        got += counter.count(bytes);
    }
    return size;
}

struct Setting {
    const char* name;
    int programProcessor;
    Peer::Acknowledge acknowledge;
};

class RoundTrips {
  public:
    RoundTrips(std::string daemon, std::string echo)
        : daemonPath_(std::move(daemon)), echoPath_(std::move(echo)) {}

    void run(const Setting& setting) {
        runOn(0);
        Peer daemon(kBusPort);
        daemon.start({daemonPath_}, setting.programProcessor);
        settle(daemon);
        daemon.acknowledge(setting.acknowledge);
        std::printf("\n%s\n%-24s %9s %9s %9s %9s %8s %12s %12s\n", setting.name, "", "p50 us",
                    "p99 us", "echo p50", "echo p99", "ratio", "per second", "cpu us");
        for (const Scenario& scenario : scenarios()) {
            compare(daemon, scenario, setting);
        }
    }

  private:
    // Until everything sent so far has been answered: answers come in the order of the requests.
    static void settle(Peer& daemon) {
        daemon.send(frame("GET", R"({"id":"settled","param":{"objectName":["frameName"]}})"));
        for (std::string bytes; bytes.find(R"("id":"settled")") == std::string::npos;) {
            bytes += daemon.receive();
        }
    }

    void compare(Peer& daemon, const Scenario& scenario, const Setting& setting) {
        settle(daemon);
        const size_t size = answerSize(daemon, scenario);
        settle(daemon);
        Peer echo(0);
        echo.start({echoPath_, std::to_string(echo.port()),
                    std::to_string(scenario.requests[0].size()), std::to_string(size)},
                   setting.programProcessor);
        echo.acknowledge(setting.acknowledge);
        Times ours;
        Times bare;
        FrameCounter frames(scenario.answerType);
        ByteCounter bytes(size);
        Scenario whole = scenario;
        whole.answers = 1;
        // In turn, so that both see the same moods of the machine.
        for (int round = 0; round < 10; ++round) {
            const size_t count = scenario.outstanding > 1 ? 20'000 : 500;
            measure(daemon, frames, scenario, count, ours);
            measure(echo, bytes, whole, count, bare);
        }
        print(scenario, ours, bare);
    }

    static void print(const Scenario& scenario, Times& ours, Times& bare) {
        if (scenario.outstanding > 1) {
            std::printf("%-24s %9s %9s %9s %9s %8.2f %12.0f %12.1f   (echo %.0f per second)\n",
                        scenario.name, "", "", "", "", ours.perSecond / bare.perSecond,
                        ours.perSecond, ours.processorTime, bare.perSecond);
            return;
        }
        std::printf("%-24s %9.1f %9.1f %9.1f %9.1f %8.2f %12.0f %12.1f\n", scenario.name,
                    ours.quantile(0.5), ours.quantile(0.99), bare.quantile(0.5),
                    bare.quantile(0.99), ours.quantile(0.5) / bare.quantile(0.5), ours.perSecond,
                    ours.processorTime);
    }

    std::string daemonPath_;
    std::string echoPath_;
};

// Milliseconds from the start of the program until its login is here.
double startToLogin(const std::string& daemonPath) {
    Peer daemon(kBusPort);
    const Clock::time_point start = Clock::now();
    daemon.start({daemonPath}, 0);
    daemon.receive();
    return Microseconds(Clock::now() - start).count() / 1e3;
}

// Milliseconds of the shell command with which the daemon asks for the product, part of its start.
double productCommand() {
    const Clock::time_point start = Clock::now();
    std::FILE* const pipe = popen(". /tmp/eeprom && echo $PRODUCT", "re");
    char line[128];
    while (std::fgets(line, sizeof line, pipe)) {
    }
    pclose(pipe);
    return Microseconds(Clock::now() - start).count() / 1e3;
}

double median(const std::function<double()>& measurement) {
    std::vector<double> results(15);
    std::generate(results.begin(), results.end(), measurement);
    std::nth_element(results.begin(), results.begin() + 7, results.end());
    return results[7];
}

void printStart(const std::string& daemonPath) {
    std::printf("start to login %.1f ms, of which the product command %.1f ms (medians of 15)\n",
                median([&] { return startToLogin(daemonPath); }), median(productCommand));
}

// Resident memory after login and a first request, from the kernel's own account (proc(5)).
void printMemory(const std::string& daemonPath) {
    Peer daemon(kBusPort);
    daemon.start({daemonPath}, 0);
    daemon.send(getRequest(R"("ipAddress")"));
    FrameCounter answered("RSP");
    waitFor(daemon, answered, 1);
    std::ifstream account("/proc/" + std::to_string(daemon.program()) + "/smaps_rollup");
    for (std::string line; std::getline(account, line);) {
        if (line.rfind("Rss:", 0) == 0 || line.rfind("Pss:", 0) == 0) {
            std::cout << line << "\n";
        }
    }
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::cerr << "usage: round_trips DAEMON ECHO (inside a simulated frame)\n";
        return 2;
    }
    printStart(argv[1]);
    printMemory(argv[1]);
    const Setting settings[] = {
        {"one core", 0, Peer::Acknowledge::promptly},
        {"one core, the bus acknowledges late", 0, Peer::Acknowledge::late},
        {"two cores", 1, Peer::Acknowledge::promptly},
        {"two cores, the bus acknowledges late", 1, Peer::Acknowledge::late},
    };
    RoundTrips roundTrips(argv[1], argv[2]);
    for (const Setting& setting : settings) {
        roundTrips.run(setting);
    }
}
