#include "pallbus/replay/message.h"

#include <optional>

#include "bus/tarn_internal_message.h"
#include "pallbus/broker/broker.h"

namespace pallbus::replay {

namespace {

void addTexts(const cJSON* list, std::vector<std::string>& names) {
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, list) {
        if (const char* text = util::jsonText(item)) {
            names.emplace_back(text);
        }
    }
}

std::vector<std::string> namesIn(const cJSON* data) {
    std::vector<std::string> names;
    for (const char* key : {"param", "paramDescriptor"}) {
        const cJSON* about = util::jsonMember(data, key);
        if (const cJSON* asked = util::jsonMember(about, "objectName")) {
            addTexts(asked, names);
            continue;
        }
        const cJSON* member = nullptr;
        cJSON_ArrayForEach(member, about) {
            names.emplace_back(member->string != nullptr ? member->string : "");
        }
    }
    return names;
}

}  // namespace

Message parseMessage(std::string_view payload) {
    Message message;
    std::optional<TarnInternalMessage> parsed = TarnInternalMessage::tryDecode(payload);
    if (!parsed) {
        return message;
    }
    message.type = parsed->type();
    message.objectName = parsed->objectName();
    message.source = parsed->source();
    message.destination = parsed->header().destination;
    message.id = parsed->uniqueId();
    message.data = parsed->takeData();
    message.names = namesIn(message.data.get());
    return message;
}

bool isResponse(const Message& message) {
    return broker::isResponse(message.type);
}

bool isHeartbeat(const Message& message) {
    return message.objectName.empty() && message.type != MessageType::none;
}

bool isLogin(const Message& message) {
    return util::jsonMember(util::jsonMember(message.data.get(), "param"), "login") != nullptr;
}

std::string describeMessage(const Message& message) {
    if (message.type == MessageType::none) {
        return "invalid message";
    }
    const std::string head = std::string(typeWord(message.type)) + " " + message.objectName;
    return isResponse(message) ? head + " " + message.id : head;
}

std::string joinNames(const Message& message) {
    std::string list;
    for (const std::string& name : message.names) {
        list += (list.empty() ? "" : ",") + name;
    }
    return list;
}

std::string replaceID(std::string_view payload, const std::string& id) {
    const size_t data = payload.find('\n') + 1;
    util::UniqueJSON json = util::parseJSON(payload.data() + data, payload.size() - data);
    if (!util::jsonMember(json.get(), "id")) {
        return std::string(payload);
    }
    cJSON_ReplaceItemInObjectCaseSensitive(json.get(), "id", util::jsonString(id).release());
    return std::string(payload.substr(0, data)) + util::renderJSON(json.get(), false);
}

}  // namespace pallbus::replay
