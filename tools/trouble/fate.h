#pragma once

#include <chrono>
#include <cstddef>

namespace pallbus {

// How one message gets from link to switchboard or back, by all the trouble that it meets.
struct Fate {
    bool lost = false;  // then nothing else counts
    std::chrono::milliseconds delay{};
    size_t corrupted = 0;  // so many of its bytes are others

    // Only on the way to a client.
    bool split = false;  // a segment for each byte
    size_t joined = 0;   // leaves in one segment when so many wait, or after a while
    bool cut = false;    // half of it, then nothing more

    bool operator==(const Fate&) const = default;
};

}  // namespace pallbus
