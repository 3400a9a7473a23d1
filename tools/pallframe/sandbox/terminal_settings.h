#pragma once

#include <termios.h>

#include <optional>

namespace pallframe::sandbox {

// How the terminal behind standard input was set before others got it. Only of one that this
// process has in its hands: not in the background, and nothing where there is none.
class TerminalSettings {
  public:
    TerminalSettings();

    // Sets it so again, for one whose program was killed and could not: lines and echo, no second
    // screen, a cursor that is seen. From the background too.
    void restore() const;

  private:
    std::optional<termios> before_;
};

}  // namespace pallframe::sandbox
