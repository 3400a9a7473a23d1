#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include "pallctl/values/output.h"

// What goes over the bus, on one line for each message, whatever bytes it consists of. Pure
// functions; any thread.

namespace pallctl {

// Who sent it, about what, to whom; that of a payload that is no message is empty and from 0.
struct MessageHead {
    std::string type;  // the word of the wire
    std::string object;
    int32_t from = 0;
    int32_t to = 0;
};
MessageHead parseMessageHead(std::string_view payload);

// The message with a line end. For people: time of day, type, sender and addressee ("*" is
// everybody), object, what it carries, id; of at most so many columns, 0 for all. As JSON and for a
// shell whole: { "time", "type", "from", "to", "object", "data" }, and { "time", "payload" } for
// what is no message, "base64" instead when it is no text. With raw the data as it came.
std::string formatMessageLine(std::string_view payload,
                              std::chrono::system_clock::time_point moment, const Style& style,
                              size_t columns);

}  // namespace pallctl
