#include "cli/time_text.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace cli {

namespace {

constexpr size_t kDateLength = 11;  // "2026-11-21T"
constexpr size_t kClockLength = 12;
constexpr size_t kZoneLength = 5;  // "+0100"

}  // namespace

std::string isoTime(std::chrono::system_clock::time_point moment) {
    const auto second = std::chrono::floor<std::chrono::seconds>(moment);
    const auto milliseconds =
        std::chrono::floor<std::chrono::milliseconds>(moment - second).count();
    const time_t seconds = std::chrono::system_clock::to_time_t(second);
    tm parts{};
    localtime_r(&seconds, &parts);
    std::array<char, 64> whole{};
    std::strftime(whole.data(), whole.size(), "%FT%T%z", &parts);
    std::array<char, 8> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03d", static_cast<int>(milliseconds));
    std::string text = whole.data();
    text.insert(text.size() - 2, ":");  // as in the time
    return text.insert(text.size() - kZoneLength - 1, fraction.data());
}

std::string clockTime(std::chrono::system_clock::time_point moment) {
    return isoTime(moment).substr(kDateLength, kClockLength);
}

std::string formatTime(std::chrono::system_clock::time_point moment, TimeForm form) {
    switch (form) {
        case TimeForm::clock:
            return clockTime(moment);
        case TimeForm::date:
            return isoTime(moment).substr(0, kDateLength - 1) + ' ' + clockTime(moment);
        case TimeForm::iso:
            break;
    }
    return isoTime(moment);
}

}  // namespace cli
