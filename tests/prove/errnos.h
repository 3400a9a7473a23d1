#pragma once

#include <span>
#include <string>

namespace prove {

// How a call may fail: the errno values of its manual page (section 2), and kHalf where fewer bytes
// than asked for may be moved. Empty for a call that no page is known of.
std::span<const int> failuresOf(long call);

std::string nameOfCall(long call);       // "openat"
std::string nameOfFailure(int failure);  // "EIO"

}  // namespace prove
