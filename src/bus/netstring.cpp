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

std::array<std::string, 3> netStringParts(std::string payload) {
    std::string length = std::to_string(payload.size());
    length += kSeparator;
    return {std::move(length), std::move(payload), std::string(1, kTerminator)};
}

}  // namespace lumo
