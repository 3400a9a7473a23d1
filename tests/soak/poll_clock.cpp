#include "soaking/poll_clock.h"

#include <sys/inotify.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "pallframe/simulation/paths.h"

namespace soak {

namespace {

constexpr std::string_view kLoadOn = "devmem 0x8aa00014 32 0x01";

}  // namespace

PollClock::PollClock(const pallframe::simulation::FrameRoot& tree)
    : tree_(tree),
      watch_(pallframe::simulation::check(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "inotify")) {
    const auto directory = tree.path(pallframe::simulation::paths::kRegisters).parent_path();
    pallframe::simulation::check(::inotify_add_watch(watch_.get(), directory.c_str(), IN_OPEN),
                                 directory);
}

void PollClock::takeEvents(Clock::time_point now) {
    alignas(inotify_event) std::array<char, 16384> bytes{};
    const ssize_t size = ::read(watch_.get(), bytes.data(), bytes.size());
    for (ssize_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, bytes.data() + at, sizeof event);
        const char* const name = bytes.data() + at + sizeof event;
        if (event.len > 0 && std::string_view(name) == "registers") {
            poll(now);
        }
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
}

void PollClock::poll(Clock::time_point now) {
    if (polls_ > 0) {
        longestGap_ = std::max(longestGap_, now - last_);
    }
    last_ = now;
    ++polls_;
    // The load is switched on before the dump is read, so the command belongs to this poll.
    std::ifstream commands(tree_.path(pallframe::simulation::paths::kCommands));
    commands.seekg(static_cast<std::streamoff>(commandsRead_));
    for (std::string line; std::getline(commands, line) && !commands.eof();) {
        commandsRead_ += line.size() + 1;
        if (line.ends_with(kLoadOn)) {
            batterySamplings_.push_back(polls_);
        }
    }
}

}  // namespace soak
