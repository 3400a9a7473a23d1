// Apart from the screen: the names of the terminal's capabilities are macros, "lines" among them.

#include "top/terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

#include "top/bad_usage.h"

namespace top {

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
        throw BadUsage("needs a terminal to read from and to draw on");
    }
    const std::string name = terminalName();
    if (name.empty()) {
        throw BadUsage("TERM does not say what terminal this is");
    }
    const Description description;
    if (!description.isKnown) {
        throw BadUsage("TERM names a terminal that this machine does not know: " + name);
    }
    std::array<char, 4> moveCursor{"cup"};
    if (!::tigetstr(moveCursor.data())) {
        throw BadUsage("TERM names a terminal that cannot be drawn on: " + name);
    }
}

}  // namespace top
