#pragma once

#include <string>

#include "util/json.h"

namespace systemstate {
class Machine;
}  // namespace systemstate

namespace pallwatch {

// The name a Tessara frame shows in its user interface. The node application publishes a label for
// each port of the frame; the port that carries this card's MAC address names the device. Used once
// at start, on the main thread.

// The label of the first child of `labels` (the members of an object or elements of an array) whose
// "port" text contains `mac` and whose "label" text is not empty. An empty `mac` is contained in
// every port. Returns the empty text when there is none.
std::string findDeviceLabel(const cJSON* labels, const std::string& mac);

// Finds this card's label and brings the file with the device name in line with it. A missing or
// unreadable file counts as an empty text. Returns the label, empty when there is none (the file
// then stays as it is).
std::string synchroniseDeviceName(const systemstate::Machine& machine);

}  // namespace pallwatch
