#include "client/payload.h"

#include <stdexcept>
#include <utility>

namespace client {

std::optional<TarnInternalMessage> decodePayload(Payload payload) {
    try {
        return payload ? std::optional(TarnInternalMessage(std::move(payload))) : std::nullopt;
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

std::optional<TarnInternalMessage> decodePayload(std::string_view payload) {
    auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
    bytes->push_back('\0');
    return decodePayload(std::move(bytes));
}

}  // namespace client
