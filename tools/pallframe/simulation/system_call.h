#pragma once

#include <cerrno>
#include <string>
#include <system_error>

#include "util/files.h"

namespace pallframe::simulation {

// Ends what is being done with the system's reason (errno) and the words for what was tried.
[[noreturn]] inline void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The result of a system call; throws std::system_error when it is negative.
template <typename Result>
Result check(Result result, const std::string& what) {
    if (result < 0) {
        fail(what);
    }
    return result;
}

using Descriptor = util::UniqueDescriptor;

}  // namespace pallframe::simulation
