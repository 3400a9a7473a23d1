#pragma once

#include <string>

#include "pallframe/doctor/doctor.h"

namespace pallframe::doctor {

// A line for each check, the problems first, below each problem its consequences, and at the end a
// summary.
std::string formatText(const Diagnosis& diagnosis);

// One JSON object on a line; valid for any texts in the frame.
std::string formatJSON(const Diagnosis& diagnosis);

}  // namespace pallframe::doctor
