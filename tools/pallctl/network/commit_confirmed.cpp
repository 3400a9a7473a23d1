#include "pallctl/network/commit_confirmed.h"

#include <poll.h>
#include <signal.h>

#include <array>

#include "cli/signal_fd.h"
#include "pallctl/network/detached_process.h"

namespace pallctl {

namespace {

bool isReadable(int descriptor) {
    pollfd ready{descriptor, POLLIN, 0};
    return ::poll(&ready, 1, 0) > 0;
}

bool isConfirmed(int line, client::Deadline deadline) {
    const cli::SignalFD signals({SIGTERM});
    std::array<pollfd, 2> watched{{{line, POLLIN, 0}, {signals.descriptor(), POLLIN, 0}}};
    while (::poll(watched.data(), watched.size(), client::pollTime(deadline)) < 0) {
        // Interrupted; there is no other error.
    }
    return watched[0].revents != 0 && receiveText(line) == std::string(1, sign::kKeep);
}

}  // namespace

ExitStatus commitConfirmed(int line, NetworkChange& change, std::chrono::milliseconds timeout) {
    const ExitStatus status = change.apply([line] { return !isReadable(line); });
    if (status == kSuccess) {
        sendText(line, std::string(1, sign::kAsk));
        if (isConfirmed(line, client::Clock::now() + timeout)) {
            return kSuccess;
        }
    }
    return change.isBegun() ? change.rollBack() : status;
}

}  // namespace pallctl
