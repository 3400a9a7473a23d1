#include "terminal.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace harness {

namespace {

using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

constexpr const char* kMaker = "/dev/ptmx";

void setSize(const Descriptor& terminal, unsigned short columns, unsigned short rows) {
    const winsize size{rows, columns, 0, 0};
    check(::ioctl(terminal.get(), TIOCSWINSZ, &size), "TIOCSWINSZ");
}

Descriptor newTerminal(unsigned short columns) {
    bringTerminals();
    Descriptor terminal(check(::open(kMaker, O_RDWR | O_NOCTTY | O_CLOEXEC), kMaker));
    check(::unlockpt(terminal.get()), "unlockpt");
    setSize(terminal, columns, 24);
    return terminal;
}

pid_t startOn(int keyboard, const std::vector<std::string>& words) {
    const Descriptor inside(
        check(::ioctl(keyboard, TIOCGPTPEER, O_RDWR | O_NOCTTY | O_CLOEXEC), "TIOCGPTPEER"));
    const pid_t pid = check(::fork(), "fork");
    if (pid == 0) {
        ::setsid();
        ::ioctl(inside.get(), TIOCSCTTY, 0);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(inside.get(), standard);
        }
        becomeProgram(words);
    }
    return pid;
}

}  // namespace

void bringTerminals() {
    constexpr const char* kTerminals = "/dev/pts";
    if (!std::filesystem::exists(kMaker)) {
        check(::mkdir(kTerminals, 0755), kTerminals);
        check(::mount("terminals", kTerminals, "devpts", 0, "newinstance,ptmxmode=0666"),
              "mount devpts");
        std::filesystem::create_symlink("pts/ptmx", kMaker);
    }
}

Terminal::Terminal(const std::vector<std::string>& words, unsigned short columns)
    : Terminal(words, newTerminal(columns)) {}

Terminal::Terminal(const std::vector<std::string>& words, Descriptor keyboard)
    : Child(startOn(keyboard.get(), words)), keyboard_(std::move(keyboard)) {
    const int screen = check(::fcntl(keyboard_.get(), F_DUPFD_CLOEXEC, 0), "dup");
    screen_.emplace(words[0] + " on its terminal", Descriptor(screen));
}

void Terminal::type(const std::string& text) const {
    check(::write(keyboard_.get(), text.data(), text.size()), "type");
}

void Terminal::resize(unsigned short columns, unsigned short rows) const {
    setSize(keyboard_, columns, rows);
}

void Terminal::hangUp() {
    screen_.reset();
    keyboard_.close();
}

}  // namespace harness
