#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

// Composes lines of spans. Pure functions.

namespace pallctl::top {

std::size_t lineWidth(const Line& line);

// The line in exactly that many columns: cut, or padded with blanks of that style.
Line fitLine(const Line& line, std::size_t columns, Style filling = Style::plain);

// Left and right part of a line of that many columns; the left one is cut if necessary.
Line justify(const Line& left, const Line& right, std::size_t columns,
             Style filling = Style::plain);

void append(Line& line, const Line& other);

// The time of day, "15:04:05"; at an age of a day and more month and day, "11-21".
std::string formatTime(std::chrono::system_clock::time_point moment, Moment age);

// "12s", "3m", "2h", "5d".
std::string formatAge(Moment age);

// "1:02:03", "12:03".
std::string formatClock(Moment time);

}  // namespace pallctl::top
