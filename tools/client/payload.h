#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "bus/tarn_internal_message.h"

namespace client {

// A received payload, followed by a NUL byte.
using Payload = std::unique_ptr<std::vector<char>>;

// The message in a payload, received or recorded (without the NUL byte). Empty when it is not a
// valid message, or null. Any thread.
std::optional<TarnInternalMessage> decodePayload(Payload payload);
std::optional<TarnInternalMessage> decodePayload(std::string_view payload);

}  // namespace client
