#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bus/message_types.h"
#include "util/json.h"

namespace pallbus::replay {

// A payload, decoded as far as a comparison needs it. An invalid message has the type none and no
// data.
struct Message {
    MessageType type = MessageType::none;
    std::string objectName;
    int32_t source = 0;
    int32_t destination = 0;
    std::string id;
    std::vector<std::string> names;  // members of "param", or the names that it asks for
    util::UniqueJSON data;           // null when it is absent or does not parse
};

Message parseMessage(std::string_view payload);

// RSP, CMDRSP, ACK or NAK: goes to the client that sent the request.
bool isResponse(const Message& message);
// A heartbeat request or its response.
bool isHeartbeat(const Message& message);
bool isLogin(const Message& message);

// Type, object and, for a response, id of the request: "RSP system 1@5".
std::string describeMessage(const Message& message);
// The names, separated by commas.
std::string joinNames(const Message& message);

// The payload with another id; unchanged when it has none.
std::string replaceID(std::string_view payload, const std::string& id);

}  // namespace pallbus::replay
