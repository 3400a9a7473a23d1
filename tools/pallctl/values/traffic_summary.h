#pragma once

#include <string>

#include "util/json.h"

namespace pallctl {

// What the data of a message say, in short: "psu1Voltage=11.5", "ipAddress, netmask" for a
// question, "200 OK", "descriptors of system.ipAddress". Without control characters. Pure.
std::string summarizeData(const cJSON* data);

}  // namespace pallctl
