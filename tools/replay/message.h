#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bus/message_types.h"
#include "model/json.h"

namespace replay {

// A payload taken apart as far as a comparison needs it. What is no message has the type none, and
// no data.
struct Message {
    MessageType type = MessageType::none;
    std::string objectName;
    int32_t source = 0;
    int32_t destination = 0;
    std::string id;
    std::vector<std::string> names;  // of what it is about: members of "param", or asked for in it
    UniqueJSON data;                 // null when there is none, or it does not parse
};

Message parseMessage(std::string_view payload);

// RSP and its like: what goes to the one client that asked.
bool isAnswer(const Message& message);
// What keeps a connection alive, and its answer.
bool isHeartbeat(const Message& message);
bool isLogin(const Message& message);

// Kind, object and, for an answer, id of the request: "RSP system 1@5".
std::string headOf(const Message& message);
// The names with commas between them; empty when there is none.
std::string namesOf(const Message& message);

// The same payload with another id. One that has none stays as it is.
std::string withID(std::string_view payload, const std::string& id);

}  // namespace replay
