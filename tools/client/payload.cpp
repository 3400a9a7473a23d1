#include "client/payload.h"

#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace client {

std::optional<TarnInternalMessage> decodePayload(std::string_view payload) {
    auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
    bytes->push_back('\0');  // as it stands behind what comes from the bus
    try {
        return TarnInternalMessage(std::move(bytes));
    } catch (const std::runtime_error&) {
        return std::nullopt;
    }
}

}  // namespace client
