#include "pallframe/sandbox/terminal_settings.h"

#include <signal.h>
#include <unistd.h>

#include <string_view>

namespace pallframe::sandbox {

namespace {

constexpr int kTerminal = STDIN_FILENO;

// The first screen, the cursor, plain keys, pasting and colours. 1047 and not 1049, which would
// also take the cursor to where another program may have kept it long ago.
constexpr std::string_view kPlainScreen = "\x1b[?1047l\x1b[?25h\x1b[?1l\x1b>\x1b[?2004l\x1b[m";

// While one lives, a process in the background may set its terminal: the foreground belongs to a
// shell that was killed.
class InBackground {
  public:
    InBackground() {
        sigset_t stop;
        ::sigemptyset(&stop);
        ::sigaddset(&stop, SIGTTOU);
        ::sigprocmask(SIG_BLOCK, &stop, &before_);
    }
    ~InBackground() { ::sigprocmask(SIG_SETMASK, &before_, nullptr); }
    InBackground(const InBackground&) = delete;
    InBackground& operator=(const InBackground&) = delete;

  private:
    sigset_t before_{};
};

}  // namespace

TerminalSettings::TerminalSettings() {
    termios settings{};
    if (::tcgetpgrp(kTerminal) == ::getpgrp() && ::tcgetattr(kTerminal, &settings) == 0) {
        before_ = settings;
    }
}

void TerminalSettings::restore() const {
    if (!before_) {
        return;
    }
    const InBackground background;
    ::tcsetattr(kTerminal, TCSANOW, &*before_);
    // A terminal that cannot be written to shows nothing either.
    [[maybe_unused]] const ssize_t written =
        ::write(kTerminal, kPlainScreen.data(), kPlainScreen.size());
}

}  // namespace pallframe::sandbox
