#pragma once

#include <chrono>

namespace util {

// The time of day. To be used in place of std::chrono::system_clock::now(): on 32-bit machines the
// C++ library has times of 32 bits, and from 2038-01-19 that call returns an undefined time. Any
// thread.
std::chrono::system_clock::time_point readSystemClock() noexcept;

}  // namespace util
