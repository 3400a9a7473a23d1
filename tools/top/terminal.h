#pragma once

namespace top {

// Throws BadUsage with the reason when standard input and output are no terminal, or one
// that cannot be drawn on.
void checkTerminal();

}  // namespace top
