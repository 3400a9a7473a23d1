#include "client/ending_signals.h"

#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace pallctl {

EndingSignals::EndingSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        sigaddset(&set, number);
    }
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    descriptor_ = FileDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

int EndingSignals::take() {
    signalfd_siginfo signal{};
    return ::read(descriptor_.get(), &signal, sizeof signal) == sizeof signal
               ? static_cast<int>(signal.ssi_signo)
               : 0;
}

}  // namespace pallctl
