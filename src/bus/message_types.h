#pragma once

#include <cstdint>
#include <string_view>

// The two vocabularies of the bus: the kinds of messages and the status codes of responses.

// The purpose of a message. The value is the type index, the name is the word on the wire.
enum class MessageType : int32_t {
    CMD = 0,
    CMDRSP = 1,
    CMDNOT = 2,
    RSP = 3,
    NOT = 4,
    ACK = 5,
    NAK = 6,
    GET = 7,
    SET = 8,
    DEL = 9,
    UPDATE = 10,
    none = 11,
};

// The word on the wire; the empty text for `none` and for every value outside the enumeration.
const char* typeWord(MessageType type);

// The type of exactly that word; `none` for any other text.
MessageType typeFromWord(std::string_view word);

// The text that goes with a status code; empty for an undefined code.
const char* statusText(int code);

// True for the codes that may be read from a response: the defined ones without 0, "Unknown".
bool isKnownStatus(int code);
