#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frame/tree.h"

// What can be done to a frame while it runs, in the words of a person: "cable eth0 down". The same
// for the command line and for scenarios.
namespace frame {

using Words = std::vector<std::string>;

// A change that can be made; BadRequest when the frame does not allow it, std::system_error when
// its files cannot be written.
using Change = std::function<void(const Tree&)>;

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

// Understands the words, the first one the kind. Throws BadRequest with what is wrong with them.
Change readChange(const Words& words);

}  // namespace frame
