#pragma once

#include <string>

// The first line that can be read from `descriptor`, without its line end, of at most 127 bytes.
// What stands behind a zero byte is not part of it. A failed read prints its result on standard
// output and ends the text there.
std::string firstLineFrom(int descriptor);
