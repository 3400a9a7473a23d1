#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace util {

// Lines that whoever reaches the bus can provoke as often as they like. 100 of one kind pass in a
// second; the others are counted, and one line tells their number when the second is over.

// As logMessage. `kind` names the lines in that one line, which has the same priority; it is a
// literal. Any thread.
void logLimited(const char* kind, int priority, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// As traceError, which is also how the number is told. Any thread.
void traceErrorLimited(const char* kind, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Tells what was held back in seconds that are over, when no further line has told it. Called once
// a second. Any thread.
void tellHeldBackLines();

// Counts anew, as for another log.
void forgetHeldBackLines();

// How often one kind of line has passed. Not locked.
class LineLimit {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;
    static constexpr std::size_t kMostPerSecond = 100;

    // Whether one more passes. A second begins with the first line after the last second.
    bool admit(TimePoint now);

    // How many were held back in a second that is over, told once; 0 while it lasts.
    std::size_t takeHeldBack(TimePoint now);

  private:
    bool isOver(TimePoint now) const;

    std::optional<TimePoint> begin_;
    std::size_t passed_ = 0;
    std::size_t heldBack_ = 0;
};

}  // namespace util
