#include "bus/unstepped_clock.h"

namespace lumo {

UnsteppedClock::time_point UnsteppedClock::now() noexcept {
    using std::chrono::steady_clock;
    using std::chrono::system_clock;
    static const duration ahead =
        system_clock::now().time_since_epoch() - steady_clock::now().time_since_epoch();
    return time_point(steady_clock::now().time_since_epoch() + ahead);
}

}  // namespace lumo
