#pragma once

#include <optional>
#include <string_view>

#include "bus/tarn_internal_message.h"

namespace client {

// The message that a recorded or overheard payload is; nothing when it is none. Any thread.
std::optional<TarnInternalMessage> decodePayload(std::string_view payload);

}  // namespace client
