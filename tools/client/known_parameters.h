#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"
#include "client/device_path.h"
#include "client/parameter_cache.h"
#include "systemstate/limits.h"

namespace client {

// The names of all parameters in the daemon's catalogue, in its order. No request lists them: the
// descriptor of the whole device contains only the saved ones.
std::vector<std::string> knownParameterNames();

// The catalogue's spelling of this parameter name (without "system."), which may be in any case;
// the name itself if the catalogue does not contain it.
std::string findKnownSpelling(const std::string& leaf);

// The descriptors that the daemon would return for its catalogue. Through a prefix it cannot be
// asked: a request by name renames the parameter.
std::vector<Descriptor> knownDescriptors();

// Adds those descriptors to the cache where the device, a daemon, did not describe a parameter
// itself. A value from a notification stays; the others have none.
void describeKnownParameters(const DevicePath& object, ParameterCache& cache);

// Whether setting a daemon's parameter (full name) starts something and keeps no value.
bool isCommand(const std::string& name);

// The limits of a daemon's parameter, from the catalogue, by its full name; also through a prefix.
// Null when it has none.
const systemstate::Limits* findLimits(const std::string& name);

}  // namespace client
