#pragma once

#include <sys/time.h>

#include <string>

namespace util {

// Stamps for trace lines on standard output. Each is followed by a tab and no newline, so that the
// line continues after it. Any thread may print one.

// Prints the time of day in local time, as in "14:03:07.052" and a tab.
void printTimeStamp();

// Prints the last three digits of the seconds and the microseconds, as in "427.000318" and a tab.
void printSecondsStamp();

// The texts that the two print, for a given moment.
std::string timeStamp(const timeval& moment);
std::string secondsStamp(const timeval& moment);

}  // namespace util
