// The names and the id of a GET are the same whether its data is scanned or read by the JSON
// library. A tab behind the first brace changes nothing but that.

#include <optional>
#include <string>

#include "bus/tarn_internal_message.h"
#include "fuzz_target.h"

namespace {

std::optional<TarnInternalMessage> get(const std::string& data) {
    return TarnInternalMessage::tryDecode("[\"GET\", \"system\", 5, 0, 0]\n" + data);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text = textOf(data, size).c_str();
    const std::optional<TarnInternalMessage> message = get(text);
    message->nameQuery();
    if (!text.starts_with('{')) {
        return 0;
    }
    const std::optional<TarnInternalMessage> byLibrary = get(text.insert(1, "\t"));
    require(message->nameQuery().values == byLibrary->nameQuery().values);
    require(message->nameQuery().descriptors == byLibrary->nameQuery().descriptors);
    require(message->uniqueId() == byLibrary->uniqueId());
    return 0;
}
