#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/devices.h"
#include "frame/tree.h"

// What can be done to a frame while it runs, in the words of a person: "cable eth0 down". The same
// for the command line and for scenarios.
namespace frame {

using Words = std::vector<std::string>;

// A change that can be made.
struct Change {
    using Deed = std::function<void(const Tree&)>;

    Deed make;           // after the check; std::system_error when the files cannot be written
    Deed check{};        // BadRequest when the frame as it is does not allow it; null: all do
    std::string file{};  // that it takes, puts or edits; empty: none

    // Both on a frame; throws what they throw.
    void operator()(const Tree& tree) const;
};

// One kind of change. Immutable, lives as long as the program.
struct ChangeKind {
    using Arguments = std::span<const std::string>;

    std::string_view name;                      // the first word
    std::array<std::string_view, 2> arguments;  // what stands behind it; the second may be ""
    Change (*read)(Arguments words);            // as many as it asks for; throws BadRequest
    std::string_view about;
};

// All kinds, in the order in which help lists them.
std::span<const ChangeKind> changeKinds();

// For a first word that is none of theirs: the text ends with those that are.
struct UnknownChange : BadRequest {
    using BadRequest::BadRequest;
};

// Understands the words, the first one the kind. Throws BadRequest with what is wrong with them.
Change readChange(const Words& words);

}  // namespace frame
