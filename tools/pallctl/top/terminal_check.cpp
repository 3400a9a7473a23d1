// Apart from the screen: the names of the terminal's capabilities are macros, "lines" among them.

#include "pallctl/top/terminal_check.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "cli/command.h"

namespace pallctl::top {

namespace {

std::string terminalName() {
    const char* const name = std::getenv("TERM");
    return name ? name : "";
}

// What the machine knows of a terminal, as long as this lives.
struct Description {
    Description() : isKnown(::setupterm(nullptr, STDOUT_FILENO, &error) == OK) {}
    ~Description() {
        if (isKnown) {
            ::del_curterm(cur_term);
        }
    }
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;

    int error = 0;
    const bool isKnown;
};

}  // namespace

void checkTerminal() {
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) {
        throw cli::UsageError("needs a terminal to read from and to draw on");
    }
    const std::string name = terminalName();
    if (name.empty()) {
        throw cli::UsageError("TERM does not say what terminal this is");
    }
    const Description description;
    if (!description.isKnown) {
        throw cli::UsageError("TERM names a terminal that this machine does not know: " + name);
    }
    std::array<char, 4> moveCursor{"cup"};
    if (!::tigetstr(moveCursor.data())) {
        throw cli::UsageError("TERM names a terminal that cannot be drawn on: " + name);
    }
}

}  // namespace pallctl::top
