#pragma once

#include <optional>
#include <string>
#include <vector>

#include "child.h"
#include "collector.h"

namespace harness {

// A frame has no terminals: makes new ones possible in this one, as they are on any machine. Throws
// std::system_error.
void bringTerminals();

// A program on a terminal of its own, as the leader of a session: what it writes to standard output
// or error is on the screen, what is typed comes to its standard input, and Ctrl-C is a signal.
// The test's thread.
class Terminal : public Child {
  public:
    // words[0] is the program, searched like a shell does; throws std::system_error.
    explicit Terminal(const std::vector<std::string>& words, unsigned short columns = 80);

    // All that came on the screen, line ends as "\r\n". Not after hangUp().
    Collector& screen() { return *screen_; }
    void type(const std::string& text) const;  // "\n" for the enter key, "\x03" for Ctrl-C

    // The program gets a signal.
    void resize(unsigned short columns, unsigned short rows) const;

    // The terminal goes away, as when a remote session breaks.
    void hangUp();

  private:
    Terminal(const std::vector<std::string>& words, pallframe::simulation::Descriptor keyboard);

    pallframe::simulation::Descriptor keyboard_;
    std::optional<Collector> screen_;
};

}  // namespace harness
