#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "pallctl/values/output.h"
#include "util/json.h"

// Formats messages on the bus, one line each, with any bytes in them. Pure functions; any thread.

namespace pallctl {

// The header of a message; empty and from 0 for an invalid one.
struct MessageHead {
    std::string type;  // the word of the wire
    std::string object;
    int32_t from = 0;
    int32_t to = 0;
};
MessageHead parseMessageHead(std::string_view payload);

// The message as a line. For people: time of day, type, sender and destination ("*" for all
// subscribers), object, content, ID; at most `columns` wide, 0 for any width. As JSON and for a
// shell: { "time", "type", "from", "to", "object", "data" }, or { "time", "payload" } for an
// invalid message, "base64" instead when it is not legible. With `raw` the data is unchanged.
std::string formatMessageLine(std::string_view payload,
                              std::chrono::system_clock::time_point moment, const Style& style,
                              size_t columns);

// Summarises the data of a message: "psu1Voltage=11.5", "ipAddress, netmask" for a request, "200
// OK", "descriptors of system.ipAddress". Without control characters.
std::string summarizeData(const cJSON* data);

}  // namespace pallctl
