#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "bus/tarn_internal_message.h"
#include "service/redundant_controllers.h"
#include "util/json.h"

class SystemState;
class ToskParam;

namespace pallwatch {

class StateSaver;

// The bus object "system": answers GET and SET for the device's parameters and announces their
// changes. With a tunnelling prefix it is also served as "<prefix>.system", the name under which
// another frame reaches this one. Owned by the service; requests are handled on the main thread,
// changes are announced on the thread that made them.
class SystemObject {
  public:
    // Keeps references to all of them.
    SystemObject(SystemState& systemState, const std::string& prefix,
                 const RedundantControllers& controllers, StateSaver& saver,
                 const SendMessage& send);

    // Answers a GET: one response for each known name under "param", and one for all known names
    // under "paramDescriptor", each name once however often it is listed. Unknown names get no
    // answer. Returns whether any descriptor was found. Asking for descriptors under the tunnelled
    // name renames the parameters in the device, so that a tunnelled descriptor carries the
    // tunnelled name.
    bool handleGet(const TarnInternalMessage& request) const;

    // Takes a SET over; workOnSet() carries it out. Only while none is under way.
    void beginSet(TarnInternalMessage request);

    // Carries out the SET member by member and answers each: 200, 400 (the value does not fit) or
    // 404 (no such parameter). Returns true when all is done, false when `isTurnOver`, asked after
    // each member, wants a pause. The state file is saved once before it returns, and before a
    // command that would send earlier answers on their way. An exception also ends the SET.
    bool workOnSet(const std::function<bool()>& isTurnOver);

    // Tells every subscriber, also under the tunnelled name, that a parameter has a new value.
    void announceChange(const ToskParam& param) const;

  private:
    // A SET under way. `next` is the member to be set next, in the data of `request`.
    struct SetUnderWay {
        TarnInternalMessage request;
        std::string localName;
        const cJSON* param;
        const cJSON* next;
    };

    bool sendValues(const TarnInternalMessage& request, const lumo::NameQuery::Names& names) const;
    bool sendDescriptors(const TarnInternalMessage& request, const lumo::NameQuery::Names& names,
                         bool found) const;
    bool addDescriptor(cJSON* result, const TarnInternalMessage& request,
                       std::string_view name) const;
    bool setMembers(SetUnderWay& set, const std::function<bool()>& isTurnOver);
    void setMember(const SetUnderWay& set, const cJSON* member);
    void setActive(const SetUnderWay& set);
    std::string localObjectName(const std::string& objectName) const;

    SystemState& systemState_;
    const std::string& prefix_;
    const RedundantControllers& controllers_;
    StateSaver& saver_;
    const SendMessage& send_;
    std::optional<SetUnderWay> set_;
};

}  // namespace pallwatch
