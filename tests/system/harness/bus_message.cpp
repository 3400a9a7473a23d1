#include "bus_message.h"

#include <memory>
#include <stdexcept>

#include <cjson/cJSON.h>

namespace harness {

namespace {

using JSON = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

JSON parseJSON(const std::string& text) {
    return {cJSON_Parse(text.c_str()), cJSON_Delete};
}

std::string print(const cJSON* item) {
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(item),
                                                            cJSON_free);
    return text ? text.get() : "";
}

std::string textOf(const cJSON* item) {
    return cJSON_IsString(item) != 0 ? item->valuestring : "";
}

int numberOf(const cJSON* item) {
    return cJSON_IsNumber(item) != 0 ? item->valueint : -1;
}

}  // namespace

std::string BusMessage::at(std::initializer_list<const char*> keys) const {
    const JSON tree = parseJSON(data);
    const cJSON* item = tree.get();
    for (const char* key : keys) {
        item = cJSON_GetObjectItemCaseSensitive(item, key);
    }
    return item == nullptr ? "" : print(item);
}

std::string BusMessage::id() const {
    return textOf(cJSON_GetObjectItemCaseSensitive(parseJSON(data).get(), "id"));
}

std::string withoutId(const BusMessage& message) {
    constexpr std::string_view kId = "{\"id\":\"";
    std::string data = message.data;
    if (data.rfind(kId, 0) == 0) {
        data.replace(kId.size(), data.find('"', kId.size()) - kId.size(), "*");
    }
    return message.header + " " + data;
}

BusMessage parseBusMessage(std::string_view payload) {
    const size_t lineEnd = payload.find('\n');
    BusMessage message;
    message.header = payload.substr(0, lineEnd);
    const JSON header = parseJSON(message.header);
    if (lineEnd == std::string_view::npos || cJSON_GetArraySize(header.get()) != 5) {
        throw std::runtime_error("no message: " + std::string(payload));
    }
    message.data = payload.substr(lineEnd + 1);
    message.type = textOf(cJSON_GetArrayItem(header.get(), 0));
    message.objectName = textOf(cJSON_GetArrayItem(header.get(), 1));
    message.source = numberOf(cJSON_GetArrayItem(header.get(), 2));
    message.destination = numberOf(cJSON_GetArrayItem(header.get(), 3));
    return message;
}

std::string busFrame(std::string_view payload) {
    return std::to_string(payload.size()).append(":").append(payload).append(";");
}

}  // namespace harness
