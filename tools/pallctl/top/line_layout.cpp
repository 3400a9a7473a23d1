#include "pallctl/top/line_layout.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "cli/time_text.h"

namespace pallctl::top {

namespace {

struct Unit {
    std::chrono::seconds length;
    char letter;
};
constexpr std::array<Unit, 4> kUnits{{{std::chrono::days(1), 'd'},
                                      {std::chrono::hours(1), 'h'},
                                      {std::chrono::minutes(1), 'm'},
                                      {std::chrono::seconds(1), 's'}}};

std::chrono::seconds wholeSeconds(Moment time) {
    return std::chrono::duration_cast<std::chrono::seconds>(time);
}

}  // namespace

std::size_t lineWidth(const Line& line) {
    std::size_t columns = 0;
    for (const Span& span : line) {
        columns += lineWidth(span.text);
    }
    return columns;
}

Line fitLine(const Line& line, std::size_t columns, Style filling) {
    Line result;
    for (const Span& span : line) {
        result.push_back({clip(span.text, columns), span.style});
        columns -= lineWidth(result.back().text);
        if (result.back().text.size() < span.text.size()) {
            break;
        }
    }
    result.push_back({std::string(columns, ' '), filling});
    return result;
}

Line justify(const Line& left, const Line& right, std::size_t columns, Style filling) {
    const std::size_t rightColumns = lineWidth(right);
    Line line = fitLine(left, columns > rightColumns ? columns - rightColumns : 0, filling);
    append(line, right);
    return fitLine(line, columns, filling);
}

void append(Line& line, const Line& other) {
    line.insert(line.end(), other.begin(), other.end());
}

std::string formatTime(std::chrono::system_clock::time_point moment, Moment age) {
    constexpr std::size_t kMonth = 5;  // in "2026-11-21T15:04:05.123+01:00"
    constexpr std::size_t kTime = 11;
    const std::string text = cli::isoTime(moment);
    return age < std::chrono::days(1) ? text.substr(kTime, std::strlen("15:04:05"))
                                      : text.substr(kMonth, std::strlen("11-21"));
}

std::string formatAge(Moment age) {
    for (const Unit& unit : kUnits) {
        if (age >= unit.length) {
            return std::to_string(age / unit.length) + unit.letter;
        }
    }
    return "0s";
}

std::string formatClock(Moment time) {
    const auto seconds = static_cast<long>(wholeSeconds(time).count());
    std::array<char, 40> text{};
    if (seconds >= 3600) {
        std::snprintf(text.data(), text.size(), "%ld:%02ld:%02ld", seconds / 3600,
                      seconds / 60 % 60, seconds % 60);
    } else {
        std::snprintf(text.data(), text.size(), "%ld:%02ld", seconds / 60, seconds % 60);
    }
    return text.data();
}

}  // namespace pallctl::top
