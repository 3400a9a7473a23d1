#include "card.h"

#include <signal.h>

#include <array>
#include <cstdlib>
#include <filesystem>

#include "harness/process.h"
#include "pallframe/simulation/stub_programs.h"

namespace prove {

namespace {

using harness::BusMessage;
using harness::Deadline;
using namespace std::chrono_literals;

// All that a power cut may not take, and a start shows again.
constexpr std::array<const char*, 11> kSettings{
    "active",     "frameName",  "quoraneProfilesEnabled", "quoraneUsersEnabled", "systemName",
    "sshEnabled", "ftpEnabled", "ambrixEnabled",          "ipAddress",           "netmask",
    "gateway"};

constexpr int kAttempts = 3;

void makeProgramsQuick(const pallframe::simulation::FrameRoot& tree) {
    for (const std::string& path : pallframe::simulation::programPaths()) {
        std::filesystem::remove(tree.path(path));
        std::filesystem::create_symlink("/bin/true", tree.path(path));
    }
}

std::string namesAsJSON() {
    std::string list;
    for (const char* const name : kSettings) {
        list += (list.empty() ? "\"" : ",\"") + std::string(name) + "\"";
    }
    return "[" + list + "]";
}

}  // namespace

Card::Card(std::string_view product, const std::string& program)
    : frame_(product), program_(program) {
    makeProgramsQuick(frame_.tree());
}

bool Card::start(const std::optional<Fault>& fault) {
    Launch launch{program_, {}, {}, {}, -1, -1, false};
    if (fault) {
        launch.environment["LD_PRELOAD"] = harness::programDirectory() / "libprove_shim.so";
        launch.environment[kControlVariable] = page_.path();
        page_.arm(*fault);
    } else {
        page_.disarm();
    }
    daemon_.emplace(launch);
    return waitForLogin();
}

// A daemon that ends has no connection to wait for, so both are looked at.
bool Card::waitForLogin() {
    const Deadline deadline;
    for (;;) {
        try {
            bus_.accept(Deadline(50ms));
            bus_.receive(Deadline(3s));
            return true;
        } catch (const std::runtime_error& error) {
            if (daemon_->hasEnded()) {
                return false;
            }
            if (deadline.passed()) {
                throw;
            }
        }
    }
}

void Card::kill() {
    daemon_->signal(SIGKILL);
    daemon_->waitForEnd();
    page_.disarm();
    bus_.close();
    bus_.stopListening();
    bus_.listen();
}

// A connection may be lost to a fault: the daemon is back in a second.
std::string Card::settings() {
    for (int attempt = 1;; ++attempt) {
        try {
            return settingsOnce();
        } catch (const std::runtime_error&) {
            if (attempt == kAttempts || daemon_->hasEnded() || !waitForLogin()) {
                throw;
            }
        }
    }
}

std::string Card::settingsOnce() {
    const std::string id = "ask" + std::to_string(++asked_) + "@5";
    bus_.get("system", R"({"id":")" + id + R"(","param":{"objectName":)" + namesAsJSON() + "}}");
    const Deadline deadline(5s);
    std::string line;
    for (size_t i = 0; i < kSettings.size();) {
        const BusMessage message = bus_.receive(deadline);
        if (message.type == "RSP" && message.id() == id) {
            const char* const name = kSettings.at(i++);
            line +=
                (line.empty() ? "" : " ") + std::string(name) + "=" + message.at({"param", name});
        }
    }
    return line;
}

// The answer to a question behind the set shows that the set was worked off.
int Card::set(const std::string& param) {
    const std::string id = "set" + std::to_string(++asked_) + "@5";
    bus_.set("system", R"({"id":")" + id + R"(","param":)" + param + "}");
    bus_.get("system", R"({"id":"end@5","param":{"objectName":["systemName"]}})");
    int status = 0;
    try {
        const Deadline deadline(3s);
        for (;;) {
            const BusMessage message = bus_.receive(deadline);
            if (message.type == "RSP" && message.id() == "end@5") {
                return status;
            }
            if (message.type == "RSP" && message.id() == id) {
                status = std::atoi(message.at({"statusCode"}).c_str());
            }
        }
    } catch (const std::runtime_error&) {
        return status;
    }
}

const std::string& Card::found(const Directory& directory) {
    const auto known = found_.find(directory);
    return known != found_.end() ? known->second
                                 : found_.emplace(directory, foundNow(directory)).first->second;
}

std::string Card::foundNow(const Directory& directory) {
    put(directory);
    std::string settings = "nothing";
    try {
        if (start()) {
            settings = this->settings();
        }
    } catch (const std::runtime_error&) {
    }
    kill();
    return settings;
}

}  // namespace prove
