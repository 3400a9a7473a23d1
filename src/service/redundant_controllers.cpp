#include "service/redundant_controllers.h"

#include <strings.h>
#include <syslog.h>

#include <utility>

#include "bus/messages.h"
#include "model/tosk_param.h"
#include "model/tosk_value.h"
#include "service/master_details_json.h"
#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "systemstate/system_state.h"
#include "util/line_limit.h"
#include "util/log.h"
#include "util/text.h"

namespace pallwatch {

namespace {

constexpr const char* kSystemObject = "system";
constexpr const char* kDetailsKey = "kelMasterSystemDetails";

}  // namespace

RedundantControllers::RedundantControllers(SystemState& systemState, systemstate::Machine& machine,
                                           const std::string& prefix, const SendMessage& send)
    : systemState_(systemState), machine_(machine), prefix_(prefix), send_(send) {}

void RedundantControllers::requestDetails() const {
    send_(GETMessage(kSystemObject, {kDetailsKey}, nullptr, 0));
}

void RedundantControllers::handleSystemRsp(const TarnInternalMessage& message) const {
    const cJSON* const param = util::jsonMember(message.data(), "param");
    if (!param) {
        return;
    }
    util::logLimited("PallwatchService::handleSystemRsp", LOG_DEBUG,
                     "PallwatchService::handleSystemRsp - got paramObj");
    const cJSON* const item = util::jsonMember(param, kDetailsKey);
    if (!cJSON_IsObject(item)) {
        return;
    }
    const MasterSystemDetails details = masterDetailsFromJSON(item);
    util::logLimited(
        "kelMasterSystemDetails", LOG_DEBUG,
        "PallwatchService::handleSystemRsp - recvd kelMasterSystemDetails : %s",
        util::shownPayload(util::renderJSON(masterDetailsToJSON(details).get(), false)).c_str());
    systemState_.updateRedundancy(details.primary, details.secondary);
}

void RedundantControllers::handleSet(const cJSON* param) const {
    const char* const masterState = util::jsonText(util::jsonMember(param, "kelMasterState"));
    if (masterState && std::string_view(masterState) == "active") {
        becomeActiveMaster();
    }
    // The key's spelling is what the senders write.
    if (cJSON_IsTrue(util::jsonMember(param, "keliIpAdressChanged"))) {
        followRemoteAddress();
    }
}

// The published parameters keep what the last details said until the next ones arrive.
void RedundantControllers::becomeActiveMaster() const {
    systemState_.masterDetails() = MasterSystemDetails();
    requestDetails();
    if (!prefix_.empty()) {
        announceUnderPrefix("system.ipAddress");
        announceUnderPrefix("system.frameName");
    }
}

void RedundantControllers::announceUnderPrefix(const char* key) const {
    if (const ToskParam* const param = systemState_.findParam(key)) {
        send_(NOTMessage(prefix_ + "." + param->oid().prefix(), param->oid().leaf(),
                         param->valueToText()));
    }
}

void RedundantControllers::followRemoteAddress() const {
    util::logMessage(
        LOG_INFO,
        "keliIpAdressChanged message received. Restarting processes with updated Keli IP.\n");
    if (strcasecmp(systemState_.productName().c_str(), "Tessara-5ru") != 0) {
        return;
    }
    if (!machine_.stats(systemstate::kKeliControlModeFile) ||
        !machine_.stats(systemstate::kRemoteControlModeFile)) {
        util::logMessage(LOG_ERR,
                         "Received keliIpAdressChanged when not in KELI Control mode. Ignoring.");
        return;
    }
    if (machine_.run(systemstate::kKeliIpChangedScript) != 0) {
        util::logMessage(LOG_ERR, "Error restarting Tessara modules with new KELI IP - %m");
    }
}

void RedundantControllers::announceActiveController(const ToskParam& param) const {
    if (param.oid().leaf() != "activeKeli") {
        return;
    }
    util::logMessage(LOG_DEBUG, "currentSystemState  activeKeli change detected");
    const auto* const value = dynamic_cast<const ToskIntegerValue*>(param.value().get());
    if (!value) {
        return;
    }
    util::UniqueJSON active = util::jsonObject();
    util::addMember(active.get(), "kelActiveMaster",
                    util::jsonString(value->value() == 0 ? "primary" : "secondary"));
    send_(SETMessage(kSystemObject, std::move(active)));
}

}  // namespace pallwatch
