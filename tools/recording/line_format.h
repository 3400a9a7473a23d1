#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "recording/recording.h"

// Formats and parses the lines of a recording, without their line feeds.

namespace recording {

// Longer than formatLine() makes a line of any payload that fits the bus.
inline constexpr size_t kMaxLineBytes = 2 * kMaxPayloadBytes + 1000;

// The line is not a whole JSON object: another format, or truncated.
class NotAnObject : public std::runtime_error {
  public:
    NotAnObject() : std::runtime_error("the line is not a JSON object") {}
};

// A time as in a recording: seconds with six decimals.
std::string secondsText(std::chrono::microseconds time);

std::string formatLine(const Header& header);
// A payload of legible text is written as text, any other as base64.
std::string formatLine(const Entry& entry);

// Both throw NotAnObject, or std::runtime_error with the problem in an object. They ignore unknown
// members.
Header parseHeaderLine(std::string_view line);
Entry parseEntryLine(std::string_view line);

}  // namespace recording
