#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_root.h"

// Changes to a running frame as text, "cable eth0 down", for the command line and for scenarios.
namespace pallframe::simulation {

using Words = std::vector<std::string>;

// A change that can be made.
struct Operation {
    using Action = std::function<void(const FrameRoot&)>;

    Action make;         // after the check; std::system_error when the files cannot be written
    Action check{};      // FrameError when the frame as it is does not allow it; null: all do
    std::string file{};  // that it takes, puts or edits; empty: none

    // Both on a frame; throws what they throw.
    void operator()(const FrameRoot& tree) const;
};

// One kind of change. Immutable, lives as long as the program.
struct OperationKind {
    struct Argument {
        std::string_view name;  // one of `arguments`; errors begin with it
        std::string word;
    };
    using Arguments = std::span<const Argument>;

    std::string_view name;                      // the first word
    std::array<std::string_view, 2> arguments;  // that follow it; the second may be ""
    Operation (*read)(Arguments words);         // as many as it asks for; throws FrameError
    std::string_view about;
};

// All kinds, in the order in which help lists them.
std::span<const OperationKind> operationKinds();

// The first word is not the name of a kind; the text ends with the list of names.
struct UnknownOperation : FrameError {
    using FrameError::FrameError;
};

// Parses the words, the first of which names the kind. Throws FrameError with the reason.
Operation parseOperation(const Words& words);

}  // namespace pallframe::simulation
