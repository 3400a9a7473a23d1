#pragma once

#include <cstddef>
#include <string>

#include "pallframe/doctor/doctor.h"

namespace pallframe::doctor {

// A line for each check, the problems first, below each problem its consequences, and at the end a
// summary. Lines of more than `maxWidth` columns are wrapped at blanks; 0: none is.
std::string formatText(const Diagnosis& diagnosis, size_t maxWidth = 0);

// One JSON object on a line; valid for any texts in the frame.
std::string formatJSON(const Diagnosis& diagnosis);

}  // namespace pallframe::doctor
