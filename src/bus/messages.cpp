#include "bus/messages.h"

#include <utility>

#include "bus/required_json.h"
#include "bus/tarn_internal_client.h"

namespace {

constexpr int kOk = 200;

std::string newId() {
    return TarnInternalClient::forProcess().nextUniqueId();
}

const char* paramKey(int descriptorFlag) {
    return descriptorFlag == 1 ? "paramDescriptor" : "param";
}

util::UniqueJSON singleMember(const char* key, util::UniqueJSON item) {
    util::UniqueJSON object = lumo::requireItem(util::jsonObject());
    if (item) {
        lumo::addRequired(object.get(), key, std::move(item));
    }
    return object;
}

util::UniqueJSON textArray(const std::vector<std::string>& texts) {
    util::UniqueJSON array = util::jsonArray();
    for (const std::string& text : texts) {
        util::addElement(array.get(), util::jsonString(text));
    }
    return array;
}

}  // namespace

GETMessage::GETMessage(std::string objectName, util::UniqueJSON param)
    : TarnInternalMessage(MessageType::GET, std::move(objectName), newId()) {
    addData("param", std::move(param));
}

GETMessage::GETMessage(std::string objectName, const std::vector<std::string>& names,
                       util::UniqueJSON arguments, int descriptorFlag)
    : TarnInternalMessage(MessageType::GET, std::move(objectName), newId()) {
    util::UniqueJSON query = singleMember("objectName", textArray(names));
    util::addMember(query.get(), "arguments", std::move(arguments));
    addData(paramKey(descriptorFlag), std::move(query));
}

SETMessage::SETMessage(std::string objectName, util::UniqueJSON param)
    : SETMessage(std::move(objectName), std::move(param), 0, 0) {}

SETMessage::SETMessage(std::string objectName, util::UniqueJSON param, int sequence, int count)
    : TarnInternalMessage(MessageType::SET, std::move(objectName), newId()) {
    if (sequence > 0 && count >= 1) {
        util::UniqueJSON pair = util::jsonArray();
        util::addElement(pair.get(), util::jsonNumber(sequence));
        util::addElement(pair.get(), util::jsonNumber(count));
        addData("seq", std::move(pair));
    }
    addData("param", std::move(param));
}

NOTMessage::NOTMessage(std::string objectName, DataKey key, util::UniqueJSON value)
    : TarnInternalMessage(MessageType::NOT, std::move(objectName), newId()) {
    addData(key.text, std::move(value));
}

NOTMessage::NOTMessage(std::string objectName, const std::string& name, util::UniqueJSON value)
    : NOTMessage(std::move(objectName), DataKey{"param"},
                 singleMember(name.c_str(), std::move(value))) {}

NOTMessage::NOTMessage(std::string objectName, const std::string& name, const util::JSONText& value)
    : TarnInternalMessage(MessageType::NOT, std::move(objectName), newId()) {
    addMember("param", name, value);
}

RSPMessage::RSPMessage(std::string objectName, int32_t destination, std::string id,
                       MessageType command, const std::optional<std::string>& objectText, int code,
                       util::UniqueJSON param, const std::optional<std::string>& details)
    : TarnInternalMessage(MessageType::RSP, std::move(objectName), std::move(id), destination) {
    addCommand(command);
    addStatus(code);
    addOptional("objectName", objectText);
    addOptional("details", details);
    addData("param", std::move(param));
}

RSPMessage::RSPMessage(const TarnInternalMessage& request,
                       const std::optional<std::string>& objectText, int code,
                       const std::optional<std::string>& details)
    : RSPMessage(request.objectName(), request.source(), request.uniqueId(), request.type(),
                 objectText, code, nullptr, details) {}

RSPMessage::RSPMessage(const TarnInternalMessage& request,
                       const std::optional<std::string>& objectBase, util::UniqueJSON param)
    : RSPMessage(request, objectBase, std::move(param), 0) {}

RSPMessage::RSPMessage(const TarnInternalMessage& request,
                       const std::optional<std::string>& objectBase, util::UniqueJSON param,
                       int descriptorFlag)
    : RSPMessage(request, kOk) {
    addOptional("objectBase", objectBase);
    addData(paramKey(descriptorFlag), std::move(param));
}

RSPMessage::RSPMessage(const TarnInternalMessage& request, const std::string& name,
                       const util::JSONText& value)
    : RSPMessage(request, kOk) {
    addMember("param", name, value);
}

// The requesters know their request: the command is not repeated.
RSPMessage::RSPMessage(const TarnInternalMessage& request, util::UniqueJSON param)
    : TarnInternalMessage(MessageType::RSP, request.objectName(), request.uniqueId(),
                          request.source()) {
    addStatus(kOk);
    addData("param", std::move(param));
}

RSPMessage::RSPMessage(const TarnInternalMessage& request, int code)
    : TarnInternalMessage(MessageType::RSP, request.objectName(), request.uniqueId(),
                          request.source()) {
    addCommand(request.type());
    addStatus(code);
}

void RSPMessage::addCommand(MessageType command) {
    addWord("requestCommand", typeWord(command));
}

void RSPMessage::addStatus(int code) {
    addNumber("statusCode", code);
    addWord("statusMsg", statusText(code));
}

void RSPMessage::addOptional(const char* key, const std::optional<std::string>& text) {
    if (text) {
        addText(key, *text);
    }
}
