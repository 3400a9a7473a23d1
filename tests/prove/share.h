#pragma once

#include <cstddef>
#include <cstdint>

namespace prove {

// Which of the cases are this program's, when several do a proof side by side.
struct Share {
    size_t number = 0;  // from 0
    size_t of = 1;
    size_t step = 1;    // every so many cases only, for a short proof
    uint64_t seed = 1;  // of what is left to chance

    bool has(size_t position) const {
        return position % step == 0 && (position / step) % of == number;
    }
};

}  // namespace prove
