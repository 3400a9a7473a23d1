#include "subjects.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <utility>

#include "programs.h"
#include "property_messages.h"

namespace {

constexpr int kProcessor = 0;
constexpr const char* kSystemLog = "/var/log/messages";
constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";
constexpr const char* kBenchFile = "/vantor/etc/bench.json";
// The daemon's last log line for a set request.
constexpr const char* kLastLine = "System param Set: ";

class Daemon : public Subject {
  public:
    explicit Daemon(std::string path) : path_(std::move(path)) {}

    std::string name() const override { return "pallwatch"; }

    std::unique_ptr<Peer> start(Request /*request*/, bool /*ticks*/) const override {
        auto peer = std::make_unique<Peer>(kBusPort);
        peer->start({path_}, kProcessor);
        // Answers come in the order of the requests: everything before has been sent by then.
        peer->send(getRequest(R"("frameName")"));
        FrameCounter settled("RSP");
        waitFor(*peer, settled, 1);
        return peer;
    }

    // Nothing on a default frame reacts to "activeKeli", and it is not saved; "active" is.
    std::string request(Request request, size_t turn) const override {
        const int value = static_cast<int>(turn % 2);
        switch (request) {
            case Request::get:
                return getRequest(R"("ipAddress")");
            case Request::set:
                return setRequest("activeKeli", value);
            case Request::savedSet:
                break;
        }
        return setRequest("active", value);
    }

    std::unique_ptr<AnswerCounter> counter(Request /*request*/) const override {
        return std::make_unique<FrameCounter>("RSP");
    }

    std::string heartbeat() const override { return frame("SET", "", R"({"id":"1@bench"})"); }

  private:
    std::string path_;
};

std::vector<std::string> workOptions(const RequestCost& cost, Request request, bool logged) {
    std::vector<std::string> options;
    if (logged && request != Request::get) {
        options.insert(options.end(), {"--log", cost.logFile});
    }
    if (request == Request::savedSet) {
        options.insert(options.end(), {"--save", kBenchFile, std::to_string(cost.savedSize)});
    }
    return options;
}

class Echo : public Subject {
  public:
    Echo(std::string path, const Subject& daemon, std::vector<RequestCost> costs, EchoKind kind)
        : path_(std::move(path)), daemon_(daemon), costs_(std::move(costs)), kind_(kind) {}

    std::string name() const override {
        switch (kind_) {
            case EchoKind::bare:
                return "bare echo";
            case EchoKind::gathering:
                return "bare echo, gathered writes";
            case EchoKind::logging:
                break;
        }
        return "echo, same messages and log lines";
    }

    std::unique_ptr<Peer> start(Request request, bool ticks) const override {
        auto peer = std::make_unique<Peer>(uint16_t{0});
        const RequestCost& cost = costs_[static_cast<size_t>(request)];
        std::vector<std::string> command{path_, std::to_string(peer->port()),
                                         std::to_string(this->request(request, 0).size()),
                                         cost.answer};
        for (const std::string& option : workOptions(cost, request, kind_ == EchoKind::logging)) {
            command.push_back(option);
        }
        if (kind_ == EchoKind::gathering) {
            command.emplace_back("--gather");
        }
        if (ticks) {
            command.emplace_back("--ticks");
        }
        peer->start(command, kProcessor);
        return peer;
    }

    std::string request(Request request, size_t turn) const override {
        return daemon_.request(request, turn);
    }

    std::unique_ptr<AnswerCounter> counter(Request request) const override {
        return daemon_.counter(request);
    }

  private:
    std::string path_;
    const Subject& daemon_;
    std::vector<RequestCost> costs_;
    EchoKind kind_;
};

class PropertyService : public Subject {
  public:
    PropertyService(std::string path, std::vector<RequestCost> costs)
        : path_(std::move(path)), costs_(std::move(costs)) {}

    std::string name() const override { return "36 properties on systemd's bus library"; }

    std::unique_ptr<Peer> start(Request request, bool ticks) const override {
        auto peer = std::make_unique<Peer>(uint16_t{0});
        std::vector<std::string> command{path_, std::to_string(peer->port())};
        for (const std::string& option :
             workOptions(costs_[static_cast<size_t>(request)], request, true)) {
            command.push_back(option);
        }
        if (ticks) {
            command.emplace_back("--ticks");
        }
        peer->start(command, kProcessor);
        peer->send(propertyGreeting());
        for (std::string line; line.find("\r\n") == std::string::npos;) {
            line += peer->receive();
        }
        return peer;
    }

    std::string request(Request request, size_t turn) const override {
        return request == Request::get ? propertyGet("P1")
                                       : propertySet("P2", static_cast<int>(turn % 2));
    }

    std::unique_ptr<AnswerCounter> counter(Request /*request*/) const override {
        return std::make_unique<ReplyCounter>();
    }

  private:
    std::string path_;
    std::vector<RequestCost> costs_;
};

// The lines of the system log behind `start`, once the last one of a set is there, as LogLines
// reads them: "<priority>time Pallwatch: text" becomes "priority text".
void copyLogLines(std::streamoff start, const std::string& logFile) {
    const std::string tag = "Pallwatch: ";
    for (bool complete = false; !complete; usleep(1000)) {
        std::ifstream log(kSystemLog);
        log.seekg(start);
        std::ofstream lines(logFile);
        for (std::string line; std::getline(log, line) && !complete;) {
            lines << line.substr(1, line.find('>') - 1) << ' '
                  << line.substr(line.find(tag) + tag.size()) << '\n';
            complete = line.find(kLastLine) != std::string::npos;
        }
    }
}

}  // namespace

void waitFor(const Peer& peer, AnswerCounter& counter, size_t answers) {
    for (size_t got = 0; got < answers;) {
        got += counter.count(peer.receive());
    }
}

std::unique_ptr<Subject> makeDaemon(const std::string& path) {
    return std::make_unique<Daemon>(path);
}

RequestCost measureCost(const Subject& daemon, Request request, const std::string& logFile) {
    const std::unique_ptr<Peer> peer = daemon.start(request, false);
    const auto logged = static_cast<std::streamoff>(std::filesystem::file_size(kSystemLog));
    RequestCost cost;
    cost.logFile = logFile;
    const std::unique_ptr<AnswerCounter> counter = daemon.counter(request);
    peer->send(daemon.request(request, 0));
    for (size_t got = 0; got == 0;) {
        const std::string bytes = peer->receive();
        cost.answer += bytes;
        got += counter->count(bytes);
    }
    if (request != Request::get) {
        copyLogLines(logged, logFile);
    }
    if (request == Request::savedSet) {
        cost.savedSize = std::filesystem::file_size(kStateFile);
    }
    return cost;
}

std::unique_ptr<Subject> makeEcho(const std::string& path, const Subject& daemon,
                                  const std::vector<RequestCost>& costs, EchoKind kind) {
    return std::make_unique<Echo>(path, daemon, costs, kind);
}

std::unique_ptr<Subject> makePropertyService(const std::string& path,
                                             const std::vector<RequestCost>& costs) {
    return std::make_unique<PropertyService>(path, costs);
}
