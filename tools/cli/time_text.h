#pragma once

#include <chrono>
#include <string>

// Times of day as text, in the local time zone. Any thread.

namespace cli {

// "2026-11-21T15:04:05.123+01:00" (ISO 8601)
std::string isoTime(std::chrono::system_clock::time_point moment);

// The time of day in it, "15:04:05.123".
std::string clockTime(std::chrono::system_clock::time_point moment);

// The forms that a user can choose, by these words: the time of day; "2026-11-21 15:04:05.123"; the
// ISO form.
enum class TimeForm { clock, date, iso };
inline constexpr const char* kTimeForms[] = {"clock", "date", "iso"};

std::string formatTime(std::chrono::system_clock::time_point moment, TimeForm form);

}  // namespace cli
