#pragma once

#include <chrono>
#include <string>

// Moments as people and programs read them, in the zone of this machine. Any thread.

namespace cli {

// "2026-11-21T15:04:05.123+01:00" (ISO 8601)
std::string isoTime(std::chrono::system_clock::time_point moment);

// "15:04:05.123", the time of day in it.
std::string clockTime(std::chrono::system_clock::time_point moment);

}  // namespace cli
