// A due time is either later than the clock or not there, whatever the text, the clock and the
// zone.

#include "bus/scheduled_time.h"

#include <time.h>

#include <array>
#include <cstdlib>
#include <limits>
#include <string>

#include "fuzz_target.h"

namespace {

using namespace lumo;

constexpr std::array<const char*, 3> kZones = {"UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "WEST+11:30"};
constexpr time_t kEarliest = std::numeric_limits<time_t>::min();
constexpr time_t kLatest = std::numeric_limits<time_t>::max();
constexpr std::array<timespec, 6> kClocks = {{
    {1'800'000'000, 500'000'000},
    {0, 0},
    {-1, 999'999'999},
    {kEarliest, 0},
    {kLatest - 5, 0},
    {kLatest, 999'999'999},
}};

void setZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
}

void requireLaterOrNone(const std::string& text, const timespec& clock) {
    const ScheduledTime now = {clock.tv_sec, static_cast<int32_t>(clock.tv_nsec)};
    const ScheduledTime due = decodeScheduledTime(text.c_str(), clock).time;
    require(due.nanoseconds >= 0 && due.nanoseconds < 1'000'000'000);
    require(!due.isScheduled() || compareTimes(due, now) > 0);
    formatScheduledTime(due);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = textOf(data, size);
    for (const char* const zone : kZones) {
        setZone(zone);
        for (const timespec& clock : kClocks) {
            requireLaterOrNone(text, clock);
        }
    }
    return 0;
}
