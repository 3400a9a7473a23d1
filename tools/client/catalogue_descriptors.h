#pragma once

#include <vector>

#include "client/descriptor.h"
#include "client/device_object.h"
#include "client/mirror.h"

namespace pallctl {

// What the daemon would say of each parameter of its catalogue, under its full name there. For
// where it cannot be asked: through a prefix a descriptor by name renames the parameter.
std::vector<Descriptor> catalogueDescriptors();

// Describes so to the mirror what that device, a daemon's, did not describe itself. A value that it
// announced stays; the others have none.
void describeCatalogue(const DeviceObject& object, Mirror& mirror);

}  // namespace pallctl
