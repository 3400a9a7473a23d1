#pragma once

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bus/tarn_internal_message.h"

// Payloads as the stream parser hands them on.
inline std::unique_ptr<std::vector<char>> unterminatedPayload(const std::string& text) {
    return std::make_unique<std::vector<char>>(text.begin(), text.end());
}

inline std::unique_ptr<std::vector<char>> payloadOf(const std::string& text) {
    std::unique_ptr<std::vector<char>> payload = unterminatedPayload(text);
    payload->push_back('\0');
    return payload;
}

inline TarnInternalMessage received(const std::string& text) {
    return TarnInternalMessage(payloadOf(text));
}

// A received message that has nothing to say but this data.
inline TarnInternalMessage receivedData(const std::string& data) {
    return received("[\"RSP\", \"system\", 1, 8, 0]\n" + data);
}

inline MallocText mallocText(const std::string& text) {
    return MallocText(strdup(text.c_str()));
}
