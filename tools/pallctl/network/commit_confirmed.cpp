// The two sides exchange messages of one sign each, a report with its text behind it. The detached
// process asks once, when everything is set, and takes every message but kKeep for a no. The user's
// side is one loop that waits for the process, signals, and input while a question is open; it ends
// with the process, or at a second signal during the rollback.

#include "pallctl/network/commit_confirmed.h"

#include <poll.h>
#include <signal.h>
#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>

namespace pallctl {

namespace {

constexpr const char* kSubject = "network";
constexpr size_t kMaxAnswerBytes = 4096;

constexpr char kReport = '.';  // a line for the user follows
constexpr char kAsk = '?';     // everything is set: keep it?
constexpr char kKeep = '+';    // the answer is yes
constexpr char kRevert = '-';  // the answer is no

void sendSign(int line, char sign, const std::string& text = "") {
    sendText(line, sign + text);
}

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
    return watched[0].revents != 0 && receiveText(line) == std::string(1, kKeep);
}

// The user's side.
class ConfirmPrompt {
  public:
    ConfirmPrompt(DetachedProcess& process, cli::SignalFD& signals,
                  std::chrono::milliseconds timeout)
        : process_(process), timeout_(timeout), signals_(signals) {}

    ExitStatus run();

  private:
    void waitForNews();
    void readProcess();
    void readSignal();
    void readUserInput();
    void take(const std::string& answer);
    void ask();
    void endPrompt();
    void say(const std::string& text);
    void revert();

    DetachedProcess& process_;
    std::chrono::milliseconds timeout_;
    cli::SignalFD& signals_;
    bool asking_ = false;      // while a question is open
    bool promptOpen_ = false;  // the line is not ended yet
    bool reverting_ = false;
    bool ended_ = false;
    bool leaving_ = false;
    client::Deadline deadline_;
    std::string typed_;
};

ExitStatus ConfirmPrompt::run() {
    while (!ended_ && !leaving_) {
        waitForNews();
    }
    if (leaving_) {
        say("not waiting; the previous settings are being restored in the background");
        return kInDoubt;
    }
    const auto status = process_.wait();
    endPrompt();
    if (!status) {
        say("the process that would restore the previous settings was killed");
    }
    return static_cast<ExitStatus>(status.value_or(kInDoubt));
}

void ConfirmPrompt::waitForNews() {
    std::array<pollfd, 3> watched{{{process_.line(), POLLIN, 0},
                                   {signals_.descriptor(), POLLIN, 0},
                                   {asking_ ? STDIN_FILENO : -1, POLLIN, 0}}};
    if (::poll(watched.data(), watched.size(), -1) < 0) {
        if (errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "poll");
        }
        return;
    }
    if (watched[0].revents != 0) {
        readProcess();
    }
    if (watched[1].revents != 0) {
        readSignal();
    }
    if (watched[2].revents != 0) {
        readUserInput();
    }
}

void ConfirmPrompt::readProcess() {
    const std::string text = receiveText(process_.line());
    if (text.empty()) {
        ended_ = true;
    } else if (text.front() == kReport) {
        // The question is its last message; any report after that closes it.
        asking_ = false;
        say(text.substr(1));
    } else if (!reverting_) {
        asking_ = true;
        deadline_ = client::Clock::now() + timeout_;
        ask();
    }
}

void ConfirmPrompt::readSignal() {
    const int signal = signals_.take();
    if (signal == 0) {
        return;
    }
    // A terminal that closes sends SIGHUP and ends the input.
    leaving_ = reverting_ && signal != SIGHUP;
    revert();
}

void ConfirmPrompt::readUserInput() {
    std::array<char, kMaxAnswerBytes> chunk;
    const ssize_t size = ::read(STDIN_FILENO, chunk.data(), chunk.size());
    typed_.append(chunk.data(), size > 0 ? static_cast<size_t>(size) : 0);
    for (size_t end = typed_.find('\n'); asking_ && end != std::string::npos;
         end = typed_.find('\n')) {
        take(typed_.substr(0, end));
        typed_.erase(0, end + 1);
    }
    if (asking_ && (size <= 0 || typed_.size() > kMaxAnswerBytes)) {
        say(size <= 0 ? "the input ended without a yes" : "invalid answer");
        revert();
    }
}

void ConfirmPrompt::take(const std::string& answer) {
    promptOpen_ = false;  // the terminal shows the end of the line that was typed
    if (::strcasecmp(answer.c_str(), "yes") == 0) {
        asking_ = false;
        sendSign(process_.line(), kKeep);
    } else if (::strcasecmp(answer.c_str(), "no") == 0) {
        revert();
    } else {
        ask();
    }
}

void ConfirmPrompt::ask() {
    endPrompt();
    const auto left =
        std::chrono::ceil<std::chrono::seconds>(deadline_ - client::Clock::now()).count();
    const std::string time = std::to_string(std::max<decltype(left)>(left, 0)) + " s";
    if (::isatty(STDIN_FILENO) == 0) {
        say("write yes to the standard input within " + time +
            " to keep these settings; its end restores the previous ones");
        return;
    }
    promptOpen_ = true;
    std::fprintf(stderr, "Keep these settings? Type yes within %s, or no: ", time.c_str());
}

void ConfirmPrompt::endPrompt() {
    if (promptOpen_) {
        std::fputc('\n', stderr);
    }
    promptOpen_ = false;
}

void ConfirmPrompt::say(const std::string& text) {
    endPrompt();
    client::complain(kSubject, text);
}

void ConfirmPrompt::revert() {
    if (!reverting_) {
        sendSign(process_.line(), kRevert);
    }
    reverting_ = true;
    asking_ = false;
}

}  // namespace

void sendReport(int line, const std::string& text) {
    sendSign(line, kReport, text);
}

ExitStatus commitConfirmed(int line, NetworkChange& change, std::chrono::milliseconds timeout) {
    const ExitStatus status = change.apply([line] { return !isReadable(line); });
    if (status == kSuccess) {
        sendSign(line, kAsk);
        if (isConfirmed(line, client::Clock::now() + timeout)) {
            return kSuccess;
        }
    }
    return change.isBegun() ? change.rollBack() : status;
}

ExitStatus askToConfirm(DetachedProcess& process, cli::SignalFD& signals,
                        std::chrono::milliseconds timeout) {
    return ConfirmPrompt(process, signals, timeout).run();
}

}  // namespace pallctl
