#pragma once

#include <optional>
#include <string>
#include <vector>

#include "bus/tarn_internal_message.h"

// The messages that a program writes. Each constructor fills the data in the order that the bus
// knows: "id" first, then what its comment lists. A tree is handed over; a null tree and a text
// that is not given leave their key out. Any thread may make messages.

// Asks for values. Data: "param".
class GETMessage : public TarnInternalMessage {
  public:
    GETMessage(std::string objectName, util::UniqueJSON param);
    // {"objectName": [names...], "arguments": arguments} under "paramDescriptor" when
    // descriptorFlag is 1, otherwise under "param".
    GETMessage(std::string objectName, const std::vector<std::string>& names,
               util::UniqueJSON arguments, int descriptorFlag);
};

// Asks for a change. Data: "param".
class SETMessage : public TarnInternalMessage {
  public:
    SETMessage(std::string objectName, util::UniqueJSON param);
    // "seq": [sequence, count] before "param", when sequence > 0 and count >= 1.
    SETMessage(std::string objectName, util::UniqueJSON param, int sequence, int count);
};

// A data key of the caller's choice, a type of its own beside the name of a parameter.
struct DataKey {
    const char* text;
};

// Announces. Data: "param": {name: value}, or any one key.
class NOTMessage : public TarnInternalMessage {
  public:
    NOTMessage(std::string objectName, DataKey key, util::UniqueJSON value);
    NOTMessage(std::string objectName, const std::string& name, util::UniqueJSON value);
    NOTMessage(std::string objectName, const std::string& name, const util::JSONText& value);
};

// Answers a request: to its sender, on its object, with its id. "requestCommand" is the word of
// the request's type and "statusMsg" the text of the code, unless a comment says otherwise.
class RSPMessage : public TarnInternalMessage {
  public:
    // "requestCommand", "statusCode", "statusMsg", "objectName", "details", "param", all from the
    // arguments.
    RSPMessage(std::string objectName, int32_t destination, std::string id, MessageType command,
               const std::optional<std::string>& objectText, int code, util::UniqueJSON param,
               const std::optional<std::string>& details);
    // The same without "param".
    RSPMessage(const TarnInternalMessage& request, const std::optional<std::string>& objectText,
               int code, const std::optional<std::string>& details);
    // "requestCommand", 200, "OK", "objectBase", "param".
    RSPMessage(const TarnInternalMessage& request, const std::optional<std::string>& objectBase,
               util::UniqueJSON param);
    // The same with the tree under "paramDescriptor" when descriptorFlag is 1.
    RSPMessage(const TarnInternalMessage& request, const std::optional<std::string>& objectBase,
               util::UniqueJSON param, int descriptorFlag);
    // "requestCommand", 200, "OK", "param": {name: value}.
    RSPMessage(const TarnInternalMessage& request, const std::string& name,
               const util::JSONText& value);
    // 200, "OK", "param", without "requestCommand".
    RSPMessage(const TarnInternalMessage& request, util::UniqueJSON param);
    // "requestCommand", "statusCode", "statusMsg".
    RSPMessage(const TarnInternalMessage& request, int code);

  private:
    void addCommand(MessageType command);
    void addStatus(int code);
    void addOptional(const char* key, const std::optional<std::string>& text);
};
