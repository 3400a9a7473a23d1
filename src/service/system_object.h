#pragma once

#include <string>

#include "model/json.h"
#include "service/redundant_controllers.h"

class SystemState;
class TarnInternalMessage;
class ToskParam;

namespace pallwatch {

// The bus object "system": answers GET and SET for the device's parameters and announces their
// changes. With a tunnelling prefix it is also served as "<prefix>.system", the name under which
// another frame reaches this one. Owned by the service; requests are handled on the main thread,
// changes are announced on the thread that made them.
class SystemObject {
  public:
    // Keeps references to all of them.
    SystemObject(SystemState& systemState, const std::string& prefix,
                 const RedundantControllers& controllers, const SendMessage& send);

    // Answers a GET: one response for each known name under "param", and one for all known names
    // under "paramDescriptor". Unknown names get no answer. Gives whether any descriptor was found.
    // Asking for descriptors under the tunnelled name renames the parameters in the device, so that
    // a tunnelled descriptor carries the tunnelled name.
    bool handleGet(const TarnInternalMessage& request) const;

    // Carries out a SET member by member and answers each: 200, 400 (the value does not fit) or 404
    // (no such parameter). Saves the state file after a published parameter was set.
    void handleSet(const TarnInternalMessage& request) const;

    // Tells every subscriber, also under the tunnelled name, that a parameter has a new value.
    void announceChange(const ToskParam& param) const;

  private:
    bool sendValues(const TarnInternalMessage& request, const cJSON* names) const;
    bool sendDescriptors(const TarnInternalMessage& request, const cJSON* names, bool found) const;
    bool addDescriptor(cJSON* result, const TarnInternalMessage& request, const char* name) const;
    void setMember(const TarnInternalMessage& request, const cJSON* member) const;
    void setActive(const TarnInternalMessage& request, const cJSON* param) const;
    std::string localObjectName(const std::string& objectName) const;

    SystemState& systemState_;
    const std::string& prefix_;
    const RedundantControllers& controllers_;
    const SendMessage& send_;
};

}  // namespace pallwatch
