#pragma once

#include <chrono>
#include <cstddef>
#include <optional>

namespace util {

// A limit for lines that a client of the bus can provoke as often as it likes. 100 of one kind pass
// in a second; the others are counted, and one line reports their number when the second is over.

// As logMessage. `kind` names the lines in that one line, which has the same priority; it is a
// literal. Any thread.
void logLimited(const char* kind, int priority, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// As traceError, which also reports the number. Any thread.
void traceErrorLimited(const char* kind, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

// Reports the lines held back in past seconds, when no further line has done so. Called once
// a second. Any thread.
void reportHeldBackLines();

// Forgets all counts, as for another log.
void forgetHeldBackLines();

// The count of one kind of line. Not locked.
class LineLimit {
  public:
    using TimePoint = std::chrono::steady_clock::time_point;
    static constexpr std::size_t kMaxLinesPerSecond = 100;

    // Whether one more passes. A second begins with the first line after the last second.
    bool admit(TimePoint now);

    // The number of lines held back in a second that is over, returned once; 0 while it lasts.
    std::size_t takeHeldBack(TimePoint now);

  private:
    bool isOver(TimePoint now) const;

    std::optional<TimePoint> begin_;
    std::size_t passed_ = 0;
    std::size_t heldBack_ = 0;
};

}  // namespace util
