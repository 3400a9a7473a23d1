#pragma once

#include <functional>
#include <string>
#include <vector>

#include "deadline.h"

namespace harness {

// A terminal that can be looked at: tmux, with a server of its own and nobody's settings, runs a
// program and knows what its screen shows. Needs a frame; ended with all that runs in it at
// destruction. The test's thread.
class Tmux {
  public:
    struct Size {
        int columns = 80;
        int rows = 24;
    };

    // words[0] is the program, searched like a shell does. Throws std::runtime_error with what tmux
    // says when it cannot be started.
    explicit Tmux(const std::vector<std::string>& words, Size size);
    ~Tmux();
    Tmux(const Tmux&) = delete;
    Tmux& operator=(const Tmux&) = delete;

    // Keys as tmux(1) names them, such as "Enter", "C-c", "PageDown".
    void press(const std::vector<std::string>& keys) const;
    void type(const std::string& text) const;
    void resize(Size size) const;
    // The terminal goes away, as when its window is closed.
    void close() const;

    // One text for each row, without blanks at its end.
    std::vector<std::string> screen() const;
    // The same in one piece, with the escape sequences for colours.
    std::string colouredScreen() const;

    // Waits until a row holds the text, or until none does; both throw TimedOut with the screen.
    void waitFor(const std::string& text) const;
    void waitUntilGone(const std::string& text) const;
    // Waits until the whole screen is as it is wanted to be.
    void waitUntil(const std::function<bool(const std::vector<std::string>&)>& isWanted,
                   const std::string& what) const;

  private:
    std::string tell(const std::vector<std::string>& words) const;

    std::string socket_;
};

}  // namespace harness
