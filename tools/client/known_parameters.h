#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"
#include "client/device_path.h"
#include "client/parameter_cache.h"

namespace client {

// The full names of all parameters in the daemon's catalogue, in its order. No request lists them:
// the descriptor of the whole device contains only the saved ones.
std::vector<std::string> knownParameterNames();

// What the daemon would say of each parameter of its catalogue, under its full name there. For
// where it cannot be asked: through a prefix a descriptor by name renames the parameter.
std::vector<Descriptor> knownDescriptors();

// Describes so to the cache what that device, a daemon's, did not describe itself. A value that it
// announced stays; the others have none.
void describeKnownParameters(const DevicePath& object, ParameterCache& cache);

}  // namespace client
