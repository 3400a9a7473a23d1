#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "pallctl/top/render_input.h"
#include "pallctl/top/screen_content.h"

// Lines of spans put together. Pure functions.

namespace pallctl::top {

std::size_t lineWidth(const Line& line);

// The line in exactly that many columns: cut, or filled up with blanks of the given style.
Line fittedLine(const Line& line, std::size_t columns, Style filling = Style::plain);

// Left and right end of a line of that many columns; what does not fit goes from the left one.
Line justified(const Line& left, const Line& right, std::size_t columns,
               Style filling = Style::plain);

void append(Line& line, const Line& other);

// The time of day, "15:04:05", of something that old; from one day on its month and day, "11-21".
std::string timeText(std::chrono::system_clock::time_point moment, Moment age);

// "12s", "3m", "2h", "5d".
std::string ageText(Moment age);

// "1:02:03", "12:03".
std::string clockText(Moment time);

}  // namespace pallctl::top
