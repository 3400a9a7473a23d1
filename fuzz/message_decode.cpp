// A payload either decodes, and then can be read, answered and encoded, or throws.

#include <cstring>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "bus/messages.h"
#include "fuzz_target.h"

namespace {

std::optional<TarnInternalMessage> decode(const std::string& payload) try {
    auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
    bytes->push_back('\0');
    return TarnInternalMessage(std::move(bytes));
} catch (const std::runtime_error&) {
    return std::nullopt;
}

void readStatus(const TarnInternalMessage& message) try {
    require(message.responseStatus().id == message.uniqueId());
} catch (const std::runtime_error&) {
    // Most messages are no responses.
}

void readAll(TarnInternalMessage& message) {
    message.header().splitObjectName();
    require(!message.header().objectPath.empty());
    require(message.statusCode() == 0 || isKnownStatus(message.statusCode()));
    message.sequence();
    readStatus(message);
}

// Names that need escaping and lines that are cut do not come back: the header is written as is.
bool comesBack(const TarnInternalMessage& message) {
    const std::string line = message.header().encode();
    const std::string& name = message.objectName();
    for (const char byte : name) {
        if (byte == '"' || byte == '\\' || static_cast<unsigned char>(byte) < ' ') {
            return false;
        }
    }
    return line.back() == '\n';
}

void requireBackAgain(const TarnInternalMessage& message) {
    const std::optional<TarnInternalMessage> back = decode(message.encode());
    require(back.has_value());
    require(back->type() == message.type());
    require(back->objectName() == message.objectName());
    require(back->source() == message.source());
    require(back->header().destination == message.header().destination);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    const std::string payload = textOf(data, size);
    std::optional<TarnInternalMessage> message = decode(payload);
    const TarnInternalMessage fromText(MallocText(strdup(payload.c_str())));
    require(message.has_value() == (fromText.type() != MessageType::none));
    if (!message) {
        return 0;
    }
    readAll(*message);
    std::optional<TarnInternalMessage> again = TarnInternalMessage::tryDecode(payload);
    require(again.has_value());
    require(util::renderJSON(message->data(), false) ==
            util::renderJSON(again->takeData().get(), false));
    if (comesBack(*message)) {
        requireBackAgain(*message);
    }
    const RSPMessage response(*message, 200);
    require(response.uniqueId() == message->uniqueId());
    require(response.header().destination == message->source());
    return 0;
}
