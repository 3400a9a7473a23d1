// Whole-process round trips: the unmodified daemon on one end of a loopback connection, this
// program as the bus on the other, each scenario beside a bare echo of the same sizes. Runs inside
// a simulated frame, where port 15000 and the daemon's files are its own.

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "bus_frames.h"
#include "peer.h"
#include "programs.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

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
    // Nothing on a default frame reacts to this parameter and it is not saved: what is timed is the
    // handling, its announcement and its log lines.
    const std::vector<std::string> sets{setRequest("activeKeli", 1), setRequest("activeKeli", 0)};
    std::string burst;
    for (int i = 0; i < 64; ++i) {
        burst += one;
    }
    return {
        {"GET", {one}, "RSP", 1, 1},
        {"GET of three names", {getRequest(three)}, "RSP", 3, 1},
        {"SET until NOT", sets, "NOT", 1, 1},
        {"SET until RSP", sets, "RSP", 1, 1},
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

// What the daemon sends for one round trip, recorded once the traffic of the start has settled.
std::string recordAnswer(Peer& daemon, const Scenario& scenario) {
    FrameCounter counter(scenario.answerType);
    std::string answer;
    daemon.send(scenario.requests[0]);
    for (size_t got = 0; got < scenario.answers;) {
        const std::string bytes = daemon.receive();
        answer += bytes;
        got += counter.count(bytes);
    }
    return answer;
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
        daemon.send(
            frame("GET", "system", R"({"id":"settled","param":{"objectName":["frameName"]}})"));
        for (std::string bytes; bytes.find(R"("id":"settled")") == std::string::npos;) {
            bytes += daemon.receive();
        }
    }

    void compare(Peer& daemon, const Scenario& scenario, const Setting& setting) {
        settle(daemon);
        const std::string answer = recordAnswer(daemon, scenario);
        settle(daemon);
        Peer echo(0);
        echo.start({echoPath_, std::to_string(echo.port()),
                    std::to_string(scenario.requests[0].size()), answer},
                   setting.programProcessor);
        echo.acknowledge(setting.acknowledge);
        Times ours;
        Times bare;
        FrameCounter frames(scenario.answerType);
        FrameCounter echoed(scenario.answerType);
        // In turn, so that both see the same moods of the machine.
        for (int round = 0; round < 10; ++round) {
            const size_t count = scenario.outstanding > 1 ? 20'000 : 500;
            measure(daemon, frames, scenario, count, ours);
            measure(echo, echoed, scenario, count, bare);
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

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: round_trips DAEMON ECHO (inside a simulated frame)\n");
        return 2;
    }
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
