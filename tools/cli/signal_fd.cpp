#include "cli/signal_fd.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace cli {

SignalFD::SignalFD(std::initializer_list<int> signals) {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : signals) {
        sigaddset(&set, number);
    }
    ::sigprocmask(SIG_BLOCK, &set, nullptr);
    descriptor_ = util::UniqueDescriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

int SignalFD::take() {
    signalfd_siginfo signal{};
    return ::read(descriptor_.get(), &signal, sizeof signal) == sizeof signal
               ? static_cast<int>(signal.ssi_signo)
               : 0;
}

void endBySignal(int signal) {
    sigset_t set;
    ::sigemptyset(&set);
    ::sigaddset(&set, signal);
    ::signal(signal, SIG_DFL);
    ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
    ::raise(signal);
}

}  // namespace cli
