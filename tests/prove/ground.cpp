#include "ground.h"

#include <signal.h>

#include <fstream>

#include "harness/process_table.h"

namespace prove {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Not what a fresh card has.
constexpr const char* kKept = R"({"active":7})";

double secondsSince(Clock::time_point time) {
    return std::chrono::duration<double>(Clock::now() - time).count();
}

}  // namespace

Ground::Ground(std::string_view product, const std::string& program) : frame_(product) {
    launch_.program = program;
}

Ground::~Ground() {
    ends_ = true;
    if (watcher_.joinable()) {
        watcher_.join();
    }
    if (pid_ > 0 && daemon_ && pid_ != daemon_->pid()) {
        ::kill(pid_, SIGKILL);
    }
}

// A field of the process's status, in MB; 0 when it has gone.
double Ground::megabytes(const char* field) const {
    std::ifstream status(harness::processRoot() / std::to_string(pid_) / "status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field)) {
            return std::stod(line.substr(line.find_first_of("0123456789"))) / 1024;
        }
    }
    return 0;
}

// The kernel keeps the highest size, but not of a process that has gone.
void Ground::watchMemory() {
    while (!ends_) {
        peak_ = std::max<double>(peak_, megabytes("VmHWM"));
        std::this_thread::sleep_for(5ms);
    }
}

bool Ground::start(std::chrono::milliseconds patience) {
    const auto from = Clock::now();
    daemon_.emplace(launch_);
    pid_ = daemon_->pid();
    watcher_ = std::thread([this] { watchMemory(); });
    const bool isUp = wire_.waitForLogin(1, patience);
    notBelow(secondsSince(from));
    if (!isUp) {
        lose(daemon_->hasEnded() ? "ended at the start" : "does not come up");
        return false;
    }
    if (!isSet(kKept)) {
        lose("the first set was not answered");
    }
    base_ = megabytes("VmRSS");
    return true;
}

void Ground::follow(pid_t pid) {
    pid_ = pid;
    base_ = megabytes("VmRSS");
}

void Ground::notBelow(double blocked) {
    least_ = std::max(least_, blocked);
}

bool Ground::isSet(const std::string& param, int status, std::chrono::milliseconds patience) {
    const std::string id = "set" + std::to_string(++sets_) + "@5";
    wire_.send("SET", R"({"id":")" + id + R"(","param":)" + param + "}");
    const auto end = Clock::now() + patience;
    while (wire_.answers(id) == 0 && Clock::now() < end) {
        std::this_thread::sleep_for(2ms);
    }
    return wire_.lastAnswer(id).find("\"statusCode\":" + std::to_string(status)) !=
           std::string::npos;
}

void Ground::limitFiles(rlim_t bytes) const {
    const rlimit limit{bytes, RLIM_INFINITY};
    pallframe::simulation::check(::prlimit(pid_, RLIMIT_FSIZE, &limit, nullptr), "prlimit");
}

Damage Ground::assess() {
    if (!stopped_) {
        std::this_thread::sleep_for(5s);
        damage_.later = std::max(0.0, megabytes("VmRSS") - base_);
        stopNow();
    }
    damage_.blocked = std::max(wire_.longestWait().count(), least_);
    damage_.peak = std::max(0.0, peak_ - base_);
    return damage_;
}

void Ground::stopNow() {
    stopped_ = true;
    checkLife();
    const auto from = Clock::now();
    ::kill(pid_, SIGTERM);
    while (megabytes("VmRSS") > 0 && secondsSince(from) < 10) {
        std::this_thread::sleep_for(5ms);
    }
    if (secondsSince(from) > 2) {
        lose(secondsSince(from) < 10 ? "SIGTERM not followed within 2 s"
                                     : "SIGTERM not followed within 10 s");
    }
}

void Ground::checkLife() {
    if (megabytes("VmRSS") == 0) {
        lose("the process");
        return;
    }
    if (!wire_.isAnswered(10s)) {
        lose("answers");
        return;
    }
    wire_.send("GET", R"({"id":"kept","param":{"objectName":["active"]}})");
    for (int i = 0; i < 1000 && wire_.answers("kept") == 0; ++i) {
        std::this_thread::sleep_for(5ms);
    }
    damage_.lives = wire_.lastAnswer("kept").find("\"active\":7}") != std::string::npos;
    if (!damage_.lives) {
        lose("settings");
    }
}

}  // namespace prove
