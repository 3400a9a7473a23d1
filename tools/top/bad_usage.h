#pragma once

#include <stdexcept>

namespace top {

// What was asked for cannot be here: there is no terminal to draw on, or no such recording to play.
// The text says which.
class BadUsage : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace top
