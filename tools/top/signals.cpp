#include "top/signals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace top {

namespace {

sigset_t signalsOfAScreen() {
    sigset_t set;
    ::sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGWINCH}) {
        ::sigaddset(&set, signal);
    }
    return set;
}

}  // namespace

Signals::Signals() {
    const sigset_t set = signalsOfAScreen();
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    descriptor_ = FileDescriptor(::signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC));
}

Signals::~Signals() {
    const sigset_t set = signalsOfAScreen();
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

std::optional<int> Signals::take() {
    signalfd_siginfo info{};
    if (::read(descriptor_.get(), &info, sizeof info) != static_cast<ssize_t>(sizeof info)) {
        return std::nullopt;
    }
    return static_cast<int>(info.ssi_signo);
}

void endBy(int signal) {
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

}  // namespace top
