#include "client/network_guard.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <array>

#include "client/guardian.h"

namespace pallctl {

namespace {

FileDescriptor terminationSignals() {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    return FileDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

bool isReadable(int descriptor) {
    pollfd ready{descriptor, POLLIN, 0};
    return ::poll(&ready, 1, 0) > 0;
}

bool isConfirmed(int line, Deadline deadline) {
    const FileDescriptor signals = terminationSignals();
    std::array<pollfd, 2> watched{{{line, POLLIN, 0}, {signals.get(), POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), pollTime(deadline)) < 0) {
        // Interrupted: there is no other error.
    }
    return watched[0].revents != 0 && receiveText(line) == std::string(1, sign::kKeep);
}

}  // namespace

ExitStatus guardNetwork(int line, NetworkChange& change, std::chrono::milliseconds patience) {
    const ExitStatus status = change.carryOut([line] { return !isReadable(line); });
    if (status == kSuccess) {
        sendText(line, std::string(1, sign::kAsk));
        if (isConfirmed(line, Clock::now() + patience)) {
            return kSuccess;
        }
    }
    return change.isBegun() ? change.takeBack() : status;
}

}  // namespace pallctl
