#pragma once

#include <string>

#include "pallframe/doctor/doctor.h"

namespace pallframe::doctor {

// A diagnosis for a person: a line for each check, and below those that did not go well what the
// daemon makes of it; in the end how many there are.
std::string formatText(const Diagnosis& diagnosis);

// The same as one JSON object on a line, for a program; valid whatever the frame holds.
std::string formatJSON(const Diagnosis& diagnosis);

}  // namespace pallframe::doctor
