#pragma once

#include <memory>
#include <vector>

#include "pallctl/top/key.h"
#include "pallctl/top/screen_content.h"

namespace pallctl::top {

// The terminal of standard input and output, as long as this lives; afterwards it is what it was
// before. There is one at a time. Used by one thread.
class Screen {
  public:
    // Throws cli::UsageError with the reason when there is no terminal, or one that cannot do what
    // is needed.
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    Size size() const;
    // Takes over the terminal's present size.
    void resize();
    void show(const ScreenContent& content);
    // Draws everything at the next show(), whatever the terminal is thought to hold.
    void forget();
    // What was typed so far.
    std::vector<Key> keys();

  private:
    struct Terminal;
    std::unique_ptr<Terminal> terminal_;
};

}  // namespace pallctl::top
