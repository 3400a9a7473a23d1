#pragma once

#include <memory>
#include <vector>

#include "pallctl/top/key.h"
#include "pallctl/top/screen_content.h"

namespace pallctl::top {

// Throws cli::UsageError with the reason when standard input and output are not a terminal that can
// be drawn on.
void checkTerminal();

// The terminal of standard input and output during the lifetime of this object, which then restores
// it. There is one at a time. Used by one thread.
class Screen {
  public:
    // Throws cli::UsageError when the terminal cannot be drawn on.
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    Size size() const;
    // Reads the current size of the terminal.
    void resize();
    void show(const ScreenContent& content);
    // Redraws everything at the next show().
    void forget();
    // The keys pressed since the last call.
    std::vector<Key> keys();

  private:
    struct Terminal;
    std::unique_ptr<Terminal> terminal_;
};

}  // namespace pallctl::top
