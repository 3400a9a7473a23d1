#pragma once

#include <string>

#include "util/json.h"

namespace pallctl {

// Summarises the data of a message: "psu1Voltage=11.5", "ipAddress, netmask" for a request, "200
// OK", "descriptors of system.ipAddress". Without control characters. Pure.
std::string summarizeData(const cJSON* data);

}  // namespace pallctl
