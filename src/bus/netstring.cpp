#include "bus/netstring.h"

#include <utility>

namespace lumo {

namespace {

constexpr char kSeparator = ':';
constexpr char kTerminator = ';';

}  // namespace

std::string encodeNetString(const std::string& payload) {
    std::string frame = std::to_string(payload.size());
    frame.reserve(frame.size() + payload.size() + 2);
    frame += kSeparator;
    frame += payload;
    frame += kTerminator;
    return frame;
}

std::vector<std::string> netStringParts(std::string payload) {
    std::vector<std::string> parts;
    parts.reserve(3);
    parts.push_back(std::to_string(payload.size()) + kSeparator);
    parts.push_back(std::move(payload));
    parts.emplace_back(1, kTerminator);
    return parts;
}

}  // namespace lumo
