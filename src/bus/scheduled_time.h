#pragma once

#include <time.h>

#include <cstdint>
#include <string>

namespace lumo {

// When a message is due, as a point in real time. Both fields 0: the message is not scheduled.
struct ScheduledTime {
    time_t seconds = 0;  // since the epoch
    int32_t nanoseconds = 0;

    bool isScheduled() const { return seconds != 0 || nanoseconds != 0; }
};

// -1, 0 or 1 as `left` is earlier than, equal to or later than `right`: by seconds, then by
// nanoseconds, both signed.
int compareTimes(const ScheduledTime& left, const ScheduledTime& right);

// What is wrong with a due time: its delay (the time is not scheduled), or its milliseconds (which
// count as 0).
enum class TimeFault { none, delay, milliseconds };

struct DecodedTime {
    ScheduledTime time;
    TimeFault fault = TimeFault::none;  // for the caller to log
};

// Reads a due time as senders write it, each form with or without "." and milliseconds at its end:
//   2026-11-15T11:30:00   that local time
//   11:30:00              that time of day, today, never tomorrow
//   +00:00:05             that long after `now`
// Returns "not scheduled" for any other text and for a time that is not later than `now`.
DecodedTime decodeScheduledTime(const char* text, const timespec& now);

// The real time of the machine.
timespec currentTime();

// Local time with milliseconds, as in "2026-11-15T11:30:00.250". Empty when not scheduled, and for
// a year that no calendar of this machine can hold.
std::string formatScheduledTime(const ScheduledTime& time);

}  // namespace lumo
