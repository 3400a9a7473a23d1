#include "util/time_stamp.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "util/trace.h"

namespace util {

namespace {

timeval timeOfDay() {
    timeval now{};
    gettimeofday(&now, nullptr);
    return now;
}

}  // namespace

void printTimeStamp() {
    trace("%s", timeStamp(timeOfDay()).c_str());
}

void printSecondsStamp() {
    trace("%s", secondsStamp(timeOfDay()).c_str());
}

std::string timeStamp(const timeval& moment) {
    tm local{};
    localtime_r(&moment.tv_sec, &local);
    std::array<char, 64> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%02d:%02d:%02d.%03ld\t", local.tm_hour, local.tm_min,
                  local.tm_sec, static_cast<long>(moment.tv_usec / 1000));
    return stamp.data();
}

std::string secondsStamp(const timeval& moment) {
    std::array<char, 16> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%03ld.%06ld\t",
                  static_cast<long>(moment.tv_sec % 1000), static_cast<long>(moment.tv_usec));
    return stamp.data();
}

}  // namespace util
