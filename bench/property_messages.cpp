#include "property_messages.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr size_t kFixedHeader = 16;
constexpr char kMethodReturn = 2;

size_t padded(size_t size, size_t alignment) {
    return (size + alignment - 1) / alignment * alignment;
}

void align(std::string& bytes, size_t alignment) {
    bytes.resize(padded(bytes.size(), alignment), '\0');
}

void addNumber(std::string& bytes, uint32_t number) {
    align(bytes, sizeof number);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);  // in this byte order
}

void addString(std::string& bytes, const std::string& text) {
    addNumber(bytes, static_cast<uint32_t>(text.size()));
    bytes.append(text.c_str(), text.size() + 1);
}

void addSignature(std::string& bytes, const std::string& signature) {
    bytes += static_cast<char>(signature.size());
    bytes.append(signature.c_str(), signature.size() + 1);
}

// One of the fields after the fixed header: its code, and a variant.
void addField(std::string& bytes, char code, const std::string& type, const std::string& value) {
    align(bytes, 8);
    bytes += code;
    addSignature(bytes, type);
    if (type == "g") {
        addSignature(bytes, value);
    } else {
        addString(bytes, value);
    }
}

std::string call(const std::string& member, const std::string& signature, const std::string& body) {
    std::string fields;
    addField(fields, 1, "o", kPropertyPath);
    addField(fields, 2, "s", "org.freedesktop.DBus.Properties");
    addField(fields, 3, "s", member);
    addField(fields, 8, "g", signature);
    std::string message{'l', 1, 0, 1};  // little endian, a call, no flags, version 1
    addNumber(message, static_cast<uint32_t>(body.size()));
    addNumber(message, 1);  // the serial number: the service echoes it and does not compare
    addNumber(message, static_cast<uint32_t>(fields.size()));
    message += fields;
    align(message, 8);
    return message + body;
}

uint32_t numberAt(const std::string& bytes, size_t position) {
    uint32_t number = 0;
    std::memcpy(&number, bytes.data() + position, sizeof number);
    return number;
}

}  // namespace

std::string propertyGreeting() {
    return std::string(1, '\0') + "AUTH ANONYMOUS\r\nBEGIN\r\n";
}

std::string propertyGet(const std::string& name) {
    std::string body;
    addString(body, kPropertyInterface);
    addString(body, name);
    return call("Get", "ss", body);
}

std::string propertySet(const std::string& name, int value) {
    std::string body;
    addString(body, kPropertyInterface);
    addString(body, name);
    addSignature(body, "i");
    addNumber(body, static_cast<uint32_t>(value));
    return call("Set", "ssv", body);
}

size_t ReplyCounter::count(const std::string& bytes) {
    pending_ += bytes;
    size_t counted = 0;
    size_t position = 0;
    while (pending_.size() - position >= kFixedHeader) {
        const size_t header = kFixedHeader + numberAt(pending_, position + 12);
        const size_t size = padded(header, 8) + numberAt(pending_, position + 4);
        if (pending_.size() - position < size) {
            break;
        }
        counted += pending_[position + 1] == kMethodReturn ? 1U : 0U;
        position += size;
    }
    pending_.erase(0, position);
    return counted;
}
