#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "recording/recording.h"

// The lines of a recording, without their line feeds: text in, structs out, and back.

namespace recording {

// The longest line that writeLine makes of a payload that fits the bus, and then some.
inline constexpr size_t kMostLineBytes = 2 * kMostPayloadBytes + 1000;

// The line is no whole JSON object: not ours, or cut short.
class NoObject : public std::runtime_error {
  public:
    NoObject() : std::runtime_error("the line is not a JSON object") {}
};

// As times stand in a recording: seconds with six decimals.
std::string secondsText(std::chrono::microseconds time);

std::string lineOf(const Header& header);
// A payload that a person can read is written as text: UTF-8 without control characters but tab,
// line feed and carriage return. Any other is written as base64.
std::string lineOf(const Entry& entry);

// Both throw NoObject, or std::runtime_error with the problem for an object that says something
// else. Members that they do not know are passed over.
Header readHeaderLine(std::string_view line);
Entry readEntryLine(std::string_view line);

}  // namespace recording
