#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
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
    std::string id;  // of the exchange
    int32_t from = 0;
    int32_t to = 0;
};
MessageHead parseMessageHead(std::string_view payload);

// The name of the client with that connection ID; empty when it is not known.
using NameClient = std::function<std::string(int32_t id)>;

// The message as a line. For people: time, type, names or connection IDs of sender and destination
// ("*" for all subscribers), object, content, ID; at most `columns` wide, 0 for any width. As JSON
// and for a shell: { "time", "type", "from", "fromName", "to", "toName", "object", "data" }, or {
// "time", "payload" } for an invalid message, "base64" instead when it is not legible. With `raw`
// the data is unchanged.
std::string formatMessageLine(
    std::string_view payload, std::chrono::system_clock::time_point moment, const Style& style,
    size_t columns, const NameClient& nameClient = [](int32_t) { return std::string(); });

// Summarises the data of a message: "psu1Voltage=11.5", "ipAddress, netmask" for a request, "200
// OK", "descriptors of system.ipAddress". Without control characters.
std::string summarizeData(const cJSON* data);

}  // namespace pallctl
