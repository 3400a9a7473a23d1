#include "pallframe/sandbox/supervisor.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace pallframe::sandbox {

namespace {

using simulation::check;

// Started to outlive its terminal (nohup(1)).
bool staysWithoutTerminal() {
    struct sigaction action {};
    return ::sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t supervisedSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGCHLD, SIGINT, SIGTERM, SIGQUIT, Supervisor::kParentDied}) {
        sigaddset(&set, number);
    }
    if (!staysWithoutTerminal()) {
        sigaddset(&set, SIGHUP);
    }
    return set;
}

int shellStatus(int status) {
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

std::optional<int> collect(pid_t child) {
    std::optional<int> result;
    int status = 0;
    for (pid_t ended = 0; (ended = ::waitpid(-1, &status, WNOHANG)) > 0;) {
        if (ended == child) {
            result = shellStatus(status);
        }
    }
    return result;
}

}  // namespace

Supervisor::Supervisor() {
    const sigset_t set = supervisedSignals();
    check(::sigprocmask(SIG_BLOCK, &set, &before_), "sigprocmask");
    signals_ =
        simulation::Descriptor(check(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK), "signalfd"));
}

Supervisor::~Supervisor() {
    release();
}

void Supervisor::release() const {
    ::sigprocmask(SIG_SETMASK, &before_, nullptr);
}

void Supervisor::serve(int descriptor, std::function<void()> serve) {
    served_ = descriptor;
    serve_ = std::move(serve);
}

int Supervisor::waitFor(pid_t child) {
    for (;;) {
        if (const auto status = collect(child)) {
            return *status;
        }
        if (deadline_ && Clock::now() >= *deadline_) {
            return 128 + SIGKILL;
        }
        wait();
        takeSignal(child);
    }
}

void Supervisor::wait() const {
    int timeout = -1;
    if (deadline_) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline_ - Clock::now());
        timeout = static_cast<int>(std::max<int64_t>(left.count(), 0));
    }
    std::array<pollfd, 2> ready{{{signals_.get(), POLLIN, 0}, {served_, POLLIN, 0}}};
    ::poll(ready.data(), ready.size(), timeout);
    if ((ready[1].revents & POLLIN) != 0) {
        serve_();
    }
}

std::optional<signalfd_siginfo> Supervisor::nextSignal() const {
    signalfd_siginfo info{};
    return ::read(signals_.get(), &info, sizeof(info)) == sizeof(info) ? std::optional(info)
                                                                       : std::nullopt;
}

void Supervisor::takeSignal(pid_t child) {
    const auto info = nextSignal();
    if (!info) {
        return;
    }
    const int number = static_cast<int>(info->ssi_signo);
    // Signals of the terminal (SI_KERNEL) have reached the command itself, except SIGHUP, which
    // only the first process of the terminal receives.
    if (info->ssi_code != SI_KERNEL || number == SIGHUP) {
        handOn(number, child);
    }
}

void Supervisor::handOnEarlier(pid_t child) {
    while (const auto info = nextSignal()) {
        handOn(static_cast<int>(info->ssi_signo), child);
    }
}

void Supervisor::handOn(int number, pid_t child) {
    if (number == kParentDied) {
        ::kill(child, SIGKILL);
    } else if (number != SIGCHLD) {
        ::kill(child, number);
        if (killTimeout_ && !deadline_) {
            deadline_ = Clock::now() + *killTimeout_;
        }
    }
}

}  // namespace pallframe::sandbox
