#include "soak_lib/observers.h"

#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fstream>
#include <string_view>

#include "pallframe/simulation/frame_paths.h"

namespace soak {

using pallframe::simulation::check;
namespace paths = pallframe::simulation::paths;

namespace {

constexpr std::string_view kLoadOn = "devmem 0x8aa00014 32 0x01";
constexpr size_t kBatteryCycle = 151;

}  // namespace

PollObserver::PollObserver(const pallframe::simulation::FrameRoot& root)
    : root_(root), watch_(check(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify")) {
    const auto directory = root.path(paths::kRegisters).parent_path();
    check(::inotify_add_watch(watch_.get(), directory.c_str(), IN_OPEN), directory);
}

void PollObserver::takeEvents(Clock::time_point now) {
    alignas(inotify_event) std::array<char, 16384> bytes{};
    const ssize_t size = ::read(watch_.get(), bytes.data(), bytes.size());
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, bytes.data() + at, sizeof event);
        const char* const name = bytes.data() + at + sizeof event;
        if (event.len > 0 && std::string_view(name) == "registers") {
            notePoll(now);
        }
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
}

void PollObserver::notePoll(Clock::time_point now) {
    if (polls_ > 0) {
        longestGap_ = std::max(longestGap_, now - last_);
    }
    last_ = now;
    ++polls_;
    // The load is switched on before the dump is read, so the command belongs to this poll.
    std::ifstream commands(root_.path(paths::kCommands));
    commands.seekg(static_cast<std::streamoff>(commandsRead_));
    for (std::string line; std::getline(commands, line) && !commands.eof();) {
        commandsRead_ += line.size() + 1;
        if (line.ends_with(kLoadOn)) {
            batterySamplings_.push_back(polls_);
        }
    }
}

void PollObserver::report(Report& report) const {
    report.row("polls", polls_);
    report.row("longest gap between polls", formatSeconds(longestGap_));
    report.row("battery samplings", batterySamplings_.size());
    for (size_t i = 1; i < batterySamplings_.size(); ++i) {
        const size_t cycle = batterySamplings_[i] - batterySamplings_[i - 1];
        if (cycle != kBatteryCycle) {
            report.fail("battery sampled again after " + std::to_string(cycle) + " polls");
        }
    }
    if (batterySamplings_.empty() || batterySamplings_.size() != (polls_ - 1) / kBatteryCycle + 1) {
        report.fail("battery samplings do not match the number of polls");
    }
}

LogObserver::LogObserver()
    : socket_(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket")) {
    const sockaddr_un address{AF_UNIX, "/dev/log"};
    check(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
          "/dev/log");
}

// Each datagram begins with "<facility times 8 plus priority>" (RFC 3164).
void LogObserver::takeLines() {
    std::array<char, 16> head{};
    for (ssize_t size = 0; (size = ::recv(socket_.get(), head.data(), head.size(), 0)) >= 0;) {
        unsigned code = 0;
        std::from_chars(head.data() + 1, head.data() + size, code);
        ++lines_[code % lines_.size()];
    }
}

void LogObserver::report(Report& report) const {
    report.row("log lines, critical / error / warning",
               std::to_string(lines_[LOG_CRIT]) + " / " + std::to_string(lines_[LOG_ERR]) + " / " +
                   std::to_string(lines_[LOG_WARNING]));
}

}  // namespace soak
