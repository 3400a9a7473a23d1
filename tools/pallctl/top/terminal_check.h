#pragma once

namespace pallctl::top {

// Throws cli::UsageError with the reason when standard input and output are no terminal, or one
// that cannot be drawn on.
void checkTerminal();

}  // namespace pallctl::top
