#pragma once

#include "client/exit_status.h"

namespace pallctl {

// The outcome of a command for one parameter, as a word for programs and as an exit status.
struct Outcome {
    const char* word;
    client::ExitStatus status;
};

// The outcomes that more than one command has.
inline constexpr Outcome kInvalidValue{"invalid", client::kUsage};
inline constexpr Outcome kUnknownName{"notFound", client::kNotFound};
inline constexpr Outcome kUnanswered{"noAnswer", client::kNoAnswer};

}  // namespace pallctl
