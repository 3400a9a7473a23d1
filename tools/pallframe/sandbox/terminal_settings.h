#pragma once

#include <termios.h>

#include <optional>

namespace pallframe::sandbox {

// The settings of the terminal on standard input, as they were at construction. Empty without a
// terminal, and in a process in the background.
class TerminalSettings {
  public:
    TerminalSettings();

    // Restores them after a program that was killed: lines and echo, the first screen, a visible
    // cursor. Also works in the background.
    void restore() const;

  private:
    std::optional<termios> before_;
};

}  // namespace pallframe::sandbox
