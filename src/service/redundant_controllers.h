#pragma once

#include <functional>
#include <string>

#include "util/json.h"

class SystemState;
class TarnInternalMessage;
class ToskParam;

namespace systemstate {
class Machine;
}  // namespace systemstate

namespace pallwatch {

// Sends one message to the bus, stamped with this module's connection id; failures are ignored.
using SendMessage = std::function<void(TarnInternalMessage&&)>;

// Follows the redundant controller pair: a frame may hold a primary and a secondary control card,
// of which one is the active master, and the bus's object "system" knows which. Owned by the
// service. Lives on the main thread, but for `announceActiveController`, which runs on the thread
// that changed the parameter and touches nothing but that parameter and the sender.
class RedundantControllers {
  public:
    // Keeps references to all of them.
    RedundantControllers(SystemState& systemState, systemstate::Machine& machine,
                         const std::string& prefix, const SendMessage& send);

    // Asks the bus for the details of both controllers; they arrive in `handleSystemRsp`.
    void requestDetails() const;

    // An answer or notification from "system": takes "kelMasterSystemDetails" out of its "param"
    // and publishes both controllers. Anything else is left alone.
    void handleSystemRsp(const TarnInternalMessage& message) const;

    // The redundancy members of a SET's "param", before its parameters are looked at.
    void handleSet(const cJSON* param) const;

    // After a parameter changed: tells the bus which controller is the active one, when the
    // parameter is the one that says so.
    void announceActiveController(const ToskParam& param) const;

  private:
    void becomeActiveMaster() const;
    void announceUnderPrefix(const char* key) const;
    void followRemoteAddress() const;

    SystemState& systemState_;
    systemstate::Machine& machine_;
    const std::string& prefix_;
    const SendMessage& send_;
};

}  // namespace pallwatch
