#pragma once

#include "client/exit_status.h"

namespace pallctl {

// What came of something, as a program reads it and as the status tells it. Plain data.
struct Outcome {
    const char* word;
    ExitStatus status;
};

// Those that more than one verb knows.
inline constexpr Outcome kUnfitValue{"unfit", kUsage};
inline constexpr Outcome kUnknownName{"notFound", kNotFound};
inline constexpr Outcome kUnanswered{"noAnswer", kNoAnswer};

// What the status code of an answer to a set comes to: kSuccess, kRefused or kNotFound.
ExitStatus statusOf(int statusCode);

}  // namespace pallctl
