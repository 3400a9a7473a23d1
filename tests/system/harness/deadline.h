#pragma once

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

namespace harness {

// How long a test waits for what must come. Long, because a machine may be busy; a test that passes
// never waits it out.
inline constexpr std::chrono::seconds kPatience{20};

// What a test waited for did not come; the text says what there was instead.
struct TimedOut : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A moment after which waiting ends.
class Deadline {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds patience = kPatience)
        : end_(Clock::now() + patience) {}

    Clock::time_point end() const { return end_; }
    bool passed() const { return Clock::now() >= end_; }
    int millisecondsLeft() const;  // for poll(2): never negative, 0 only when passed

  private:
    Clock::time_point end_;
};

// Waits until the descriptor is readable (or at its end); throws TimedOut naming `what`.
void waitReadable(int descriptor, const Deadline& deadline, const std::string& what);

// For what gives no sign when it changes (a file's contents): looks again and again until `holds`
// gives true; throws TimedOut naming `what`.
void waitUntil(const std::function<bool()>& holds, const std::string& what,
               const Deadline& deadline = Deadline());

}  // namespace harness
