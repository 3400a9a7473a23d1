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
    std::array<char, 64> clock{};
    std::strftime(clock.data(), clock.size(), "%H:%M:%S", &local);
    std::array<char, 64> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03ld\t",
                  static_cast<long>(moment.tv_usec / 1000));
    return std::string(clock.data()) + fraction.data();
}

std::string secondsStamp(const timeval& moment) {
    std::array<char, 16> stamp{};
    std::snprintf(stamp.data(), stamp.size(), "%03ld.%06ld\t",
                  static_cast<long>(moment.tv_sec % 1000), static_cast<long>(moment.tv_usec));
    return stamp.data();
}

}  // namespace util
