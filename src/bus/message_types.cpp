#include "bus/message_types.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace {

constexpr std::array<std::string_view, 11> kTypeWords = {
    "CMD", "CMDRSP", "CMDNOT", "RSP", "NOT", "ACK", "NAK", "GET", "SET", "DEL", "UPDATE",
};

struct Status {
    int code;
    const char* text;
};

constexpr std::array<Status, 22> kStatuses = {{
    {0, "Unknown"},
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {204, "No Content"},
    {210, "OK With Info"},
    {400, "Bad Request"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {408, "Request Timeout"},
    {429, "Too Many Requests"},
    {480, "Connection Point Not Found"},
    {481, "Connection Point Disconnected"},
    {482, "Device Not Found"},
    {490, "Route Protected"},
    {491, "Resource Protected"},
    {492, "Breakaway Error"},
    {493, "No Rule"},
    {494, "No Resource"},
    {495, "No Access"},
    {496, "Out of Range"},
}};

const Status* findStatus(int code) {
    const auto* const found = std::find_if(kStatuses.begin(), kStatuses.end(),
                                           [code](const Status& row) { return row.code == code; });
    return found == kStatuses.end() ? nullptr : found;
}

}  // namespace

const char* typeWord(MessageType type) {
    const auto index = static_cast<size_t>(type);
    return index < kTypeWords.size() ? kTypeWords[index].data() : "";
}

MessageType typeFromWord(std::string_view word) {
    const auto* const found = std::find(kTypeWords.begin(), kTypeWords.end(), word);
    return static_cast<MessageType>(found - kTypeWords.begin());
}

const char* statusText(int code) {
    const Status* const status = findStatus(code);
    return status ? status->text : "";
}

bool isKnownStatus(int code) {
    return code != 0 && findStatus(code);
}
