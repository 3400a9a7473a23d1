#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "trouble/rule.h"

// The table that trouble in words is read by, written by and offered from (words.h). For the files
// of this room.

namespace pallbus::vocabulary {

inline constexpr int32_t kDaemon = 8;  // the connection id that it logs in with
inline constexpr std::string_view kCalm = "calm";

// What stands behind a kind without a word of its own.
enum class Operand { none, delay, joined, corrupted, time };

// What else may stand behind it, each once and in any order.
inline constexpr unsigned kOften = 1;
inline constexpr unsigned kFrom = 2;
inline constexpr unsigned kTo = 4;
inline constexpr unsigned kWho = 8;
inline constexpr unsigned kObject = 16;
inline constexpr unsigned kFor = 32;
inline constexpr unsigned kMessages = kOften | kTo | kWho | kObject | kFor;

struct Word {
    std::string_view name;
    Kind kind;
    Operand operand;
    unsigned takes;
    std::string_view form;  // with its operand, for people
};

// One that begins with another comes before it.
inline constexpr std::array<Word, 10> kWords{{
    {"drop", Kind::drop, Operand::none, kMessages | kFrom, "drop"},
    {"delay", Kind::delay, Operand::delay, kMessages | kFrom, "delay TIME[-TIME]"},
    {"corrupt", Kind::corrupt, Operand::corrupted, kMessages | kFrom, "corrupt [BYTES]"},
    {"split", Kind::split, Operand::none, kMessages, "split"},
    {"join", Kind::join, Operand::joined, kMessages & ~kOften, "join MESSAGES"},
    {"close mid-frame", Kind::cut, Operand::none, kMessages, "close mid-frame"},
    {"close", Kind::close, Operand::none, kWho, "close"},
    {"refuse", Kind::refuse, Operand::time, kFor, "refuse [TIME]"},
    {"silent", Kind::silent, Operand::time, kWho | kFor, "silent [TIME]"},
    {"stop reading", Kind::stopReading, Operand::time, kWho | kFor, "stop reading [TIME]"},
}};

}  // namespace pallbus::vocabulary
