// Apart from the screen: the names of the terminal's capabilities are macros, "lines" among them.

#include "top/terminal.h"

#define NCURSES_NOMACROS
#include <curses.h>
#include <term.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace top {

namespace {

std::string terminalName() {
    const char* const name = std::getenv("TERM");
    return name ? name : "";
}

}  // namespace

void checkTerminal() {
    if (::isatty(STDIN_FILENO) == 0 || ::isatty(STDOUT_FILENO) == 0) {
        throw std::runtime_error("needs a terminal to read from and to draw on");
    }
    const std::string name = terminalName();
    if (name.empty()) {
        throw std::runtime_error("TERM does not say what terminal this is");
    }
    int error = 0;
    if (::setupterm(nullptr, STDOUT_FILENO, &error) != OK) {
        throw std::runtime_error("TERM names a terminal that this machine does not know: " + name);
    }
    std::array<char, 4> moveCursor{"cup"};
    if (!::tigetstr(moveCursor.data())) {
        throw std::runtime_error("TERM names a terminal that cannot be drawn on: " + name);
    }
}

}  // namespace top
