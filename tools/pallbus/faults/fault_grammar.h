#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "pallbus/faults/fault_rule.h"

// The one table by which faults are parsed, formatted and completed. For the files of this module.

namespace pallbus::faults::grammar {

inline constexpr int32_t kDaemonID = 8;  // the connection id that the daemon logs in with
inline constexpr std::string_view kClear = "clear";

// The operand that follows a kind without a keyword of its own.
enum class Operand { none, delay, messageCount, byteCount, duration };

// The modifiers that may follow a kind, each once and in any order.
inline constexpr unsigned kFrequency = 1;
inline constexpr unsigned kFrom = 2;
inline constexpr unsigned kTo = 4;
inline constexpr unsigned kClient = 8;
inline constexpr unsigned kObject = 16;
inline constexpr unsigned kFor = 32;
inline constexpr unsigned kMessages = kFrequency | kTo | kClient | kObject | kFor;

struct KindGrammar {
    std::string_view name;
    FaultKind kind;
    Operand operand;
    unsigned modifiers;
    std::string_view usage;  // the kind with its operand, for people
};

inline constexpr std::array<KindGrammar, 10> kKinds{{
    {"drop", FaultKind::drop, Operand::none, kMessages | kFrom, "drop"},
    {"delay", FaultKind::delay, Operand::delay, kMessages | kFrom, "delay TIME[-TIME]"},
    {"corrupt", FaultKind::corrupt, Operand::byteCount, kMessages | kFrom, "corrupt [BYTES]"},
    {"fragment", FaultKind::fragment, Operand::none, kMessages, "fragment"},
    {"coalesce", FaultKind::coalesce, Operand::messageCount, kMessages & ~kFrequency,
     "coalesce MESSAGES"},
    {"truncate", FaultKind::truncate, Operand::none, kMessages, "truncate"},
    {"close", FaultKind::close, Operand::none, kClient, "close"},
    {"refuse", FaultKind::refuse, Operand::duration, kFor, "refuse [TIME]"},
    {"blackhole", FaultKind::blackhole, Operand::duration, kClient | kFor, "blackhole [TIME]"},
    {"stall", FaultKind::stall, Operand::duration, kClient | kFor, "stall [TIME]"},
}};

}  // namespace pallbus::faults::grammar
