// What the simulated bus costs: requests of one client to a module and its answers, both of them
// this program, beside a bare relay that passes the same bytes on the same loopback.

#include <fcntl.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "programs.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

std::string framed(const std::string& payload) {
    return std::to_string(payload.size()) + ":" + payload + ";";
}

const std::string kRequest = framed(
    "[\"GET\", \"system\", 20, 0, 0]\n"
    R"({"id":"1@bench","param":{"objectName":["ipAddress"]}})");
const std::string kAnswer = framed(
    "[\"RSP\", \"system\", 8, 20, 0]\n"
    R"({"id":"1@bench","requestCommand":"GET","statusCode":200,"statusMsg":"OK",)"
    R"("param":{"ipAddress":167772165}})");

// One end of a connection to the measured program.
class End {
  public:
    explicit End(uint16_t port)
        : socket_(checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket")) {
        sockaddr_in address = loopback(port);
        checked(connect(socket_, general(address), sizeof address), "connect");
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~End() { close(socket_); }
    End(const End&) = delete;
    End& operator=(const End&) = delete;

    void send(const std::string& bytes) const {
        if (write(socket_, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
            giveUp("write");
        }
    }

    // Waits for bytes; gives how many messages of that size are complete with them.
    size_t receive(size_t messageSize) {
        std::array<char, 65536> buffer;
        const ssize_t count = read(socket_, buffer.data(), buffer.size());
        if (count <= 0) {
            giveUp("the program has gone");
        }
        pending_ += static_cast<size_t>(count);
        const size_t messages = pending_ / messageSize;
        pending_ %= messageSize;
        return messages;
    }

    // Sends a request to the bus itself and reads until it has answered.
    void settle(const std::string& param) const {
        send(framed("[\"SET\", \"system.connection\", 0, 0, 0]\n{\"param\":" + param + "}"));
        std::string answer(4096, '\0');
        for (size_t size = 0; answer.find(';') == std::string::npos;) {
            const ssize_t count = read(socket_, answer.data() + size, answer.size() - size);
            if (count <= 0) {
                giveUp("the bus has gone");
            }
            size += static_cast<size_t>(count);
        }
    }

  private:
    int socket_;
    size_t pending_ = 0;
};

// The measured program, with a client and a module on it.
class Line {
  public:
    Line(const std::vector<std::string>& command, int processor) {
        std::array<int, 2> pipe{};
        checked(pipe2(pipe.data(), O_CLOEXEC), "pipe");
        program_ = startProgram(command, processor, pipe[1]);
        close(pipe[1]);
        std::FILE* const output = fdopen(pipe[0], "r");
        unsigned port = 0;
        if (std::fscanf(output, "%*[^0-9]127.0.0.1:%u", &port) != 1) {
            giveUp("no port: " + command[0]);
        }
        std::fclose(output);
        client_ = std::make_unique<End>(static_cast<uint16_t>(port));
        module_ = std::make_unique<End>(static_cast<uint16_t>(port));
    }
    ~Line() { endProgram(program_); }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    // Not for a program that does not know the protocol.
    void introduce() const {
        client_->settle(R"({"login":{"name":"client","connID":20,"version":1}})");
        module_->settle(R"({"login":{"name":"module","connID":8,"version":1}})");
        module_->settle(R"({"subscribeList":[{"path":"system"}]})");
    }

    // So many requests, of which so many are under way at any time, and their answers.
    void exchange(size_t count, size_t outstanding) const {
        size_t sent = std::min(outstanding, count);
        client_->send(repeated(kRequest, sent));
        for (size_t answered = 0; answered < count;) {
            const size_t requests = module_->receive(kRequest.size());
            if (requests == 0) {
                continue;
            }
            module_->send(repeated(kAnswer, requests));
            for (size_t due = requests; due > 0;) {
                due -= client_->receive(kAnswer.size());
            }
            answered += requests;
            const size_t next = std::min(requests, count - sent);
            sent += next;
            client_->send(repeated(kRequest, next));
        }
    }

    int64_t processorTime() const { return processorTimeOf(program_); }

  private:
    static std::string repeated(const std::string& text, size_t count) {
        std::string all;
        for (size_t i = 0; i < count; ++i) {
            all += text;
        }
        return all;
    }

    pid_t program_ = 0;
    std::unique_ptr<End> client_;
    std::unique_ptr<End> module_;
};

struct Figures {
    std::vector<double> roundTrips{};  // microseconds
    double messagesPerSecond = 0;      // the best of all rounds
    double processorTime = 0;          // microseconds of the program per message

    double quantile(double q) {
        std::sort(roundTrips.begin(), roundTrips.end());
        return roundTrips.at(static_cast<size_t>(q * static_cast<double>(roundTrips.size() - 1)));
    }
};

void measureRoundTrips(const Line& line, Figures& figures) {
    for (int i = 0; i < 1000; ++i) {
        const Clock::time_point start = Clock::now();
        line.exchange(1, 1);
        figures.roundTrips.push_back(Microseconds(Clock::now() - start).count());
    }
}

void measureThroughput(const Line& line, Figures& figures) {
    constexpr size_t kRequests = 20'000;
    constexpr double kMessages = 2 * kRequests;
    const int64_t processorStart = line.processorTime();
    const Clock::time_point start = Clock::now();
    line.exchange(kRequests, 64);
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    figures.messagesPerSecond = std::max(figures.messagesPerSecond, kMessages / seconds);
    figures.processorTime =
        static_cast<double>(line.processorTime() - processorStart) / 1e3 / kMessages;
}

void print(const char* name, Figures& bus, Figures& relay) {
    std::printf("%-12s %8.1f %8.1f %9.1f %9.1f %6.2f %11.0f %11.0f %6.2f %7.2f %7.2f\n", name,
                bus.quantile(0.5), bus.quantile(0.99), relay.quantile(0.5), relay.quantile(0.99),
                bus.quantile(0.5) / relay.quantile(0.5), bus.messagesPerSecond,
                relay.messagesPerSecond, bus.messagesPerSecond / relay.messagesPerSecond,
                bus.processorTime, relay.processorTime);
}

void compare(const char* name, const std::string& busPath, const std::string& relayPath,
             int processor) {
    const Line bus({busPath, "--port=0"}, processor);
    bus.introduce();
    const Line relay({relayPath}, processor);
    Figures ofBus;
    Figures ofRelay;
    // In turn, so that both see the same moods of the machine.
    for (int round = 0; round < 10; ++round) {
        measureRoundTrips(bus, ofBus);
        measureRoundTrips(relay, ofRelay);
        measureThroughput(bus, ofBus);
        measureThroughput(relay, ofRelay);
    }
    print(name, ofBus, ofRelay);
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: routing BUS RELAY\n");
        return 2;
    }
    runOn(0);
    std::printf(
        "\nrequest and answer through the simulated bus, beside a bare relay\n"
        "%-12s %8s %8s %9s %9s %6s %11s %11s %6s %7s %7s\n",
        "", "p50 us", "p99 us", "relay p50", "relay p99", "ratio", "messages/s", "relay msg/s",
        "ratio", "cpu us", "relay");
    compare("one core", argv[1], argv[2], 0);
    compare("two cores", argv[1], argv[2], 1);
}
