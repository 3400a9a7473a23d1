#include "service/system_object.h"

#include <syslog.h>

#include <mutex>
#include <utility>

#include "bus/messages.h"
#include "model/log.h"
#include "model/tosk_device.h"
#include "model/tosk_param.h"
#include "systemstate/system_state.h"

namespace pallwatch {

namespace {

constexpr const char* kWholeDevice = "paramDescriptor";
constexpr int kOk = 200;
constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kAsDescriptor = 1;

// Parameters are stored under their identifier's full text.
std::string keyOf(const std::string& prefix, const char* leaf) {
    return prefix + "." + leaf;
}

UniqueJSON singleMember(const char* key, UniqueJSON value) {
    UniqueJSON object = jsonObject();
    addMember(object.get(), key, std::move(value));
    return object;
}

// The names that a GET lists under `kind`, null when it lists none.
const cJSON* requestedNames(const TarnInternalMessage& request, const char* kind) {
    const cJSON* const names = jsonMember(jsonMember(request.data(), kind), "objectName");
    return cJSON_IsArray(names) ? names : nullptr;
}

}  // namespace

SystemObject::SystemObject(SystemState& systemState, const std::string& prefix,
                           const RedundantControllers& controllers, const SendMessage& send)
    : systemState_(systemState), prefix_(prefix), controllers_(controllers), send_(send) {}

bool SystemObject::handleGet(const TarnInternalMessage& request) const {
    bool found = false;
    if (const cJSON* const names = requestedNames(request, "param")) {
        found = sendValues(request, names);
    }
    if (const cJSON* const names = requestedNames(request, "paramDescriptor")) {
        found = sendDescriptors(request, names, found);
    }
    return found;
}

bool SystemObject::sendValues(const TarnInternalMessage& request, const cJSON* names) const {
    bool foundDescriptor = false;
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, names) {
        const char* const name = jsonText(item);
        if (!name) {
            continue;
        }
        if (std::string_view(name) == kWholeDevice) {
            send_(RSPMessage(request, std::nullopt,
                             singleMember(kWholeDevice, systemState_.device()->toJSON())));
            foundDescriptor = true;
        } else if (const ToskParam* const param =
                       systemState_.findParam(keyOf(request.objectName(), name))) {
            send_(RSPMessage(request, std::nullopt,
                             singleMember(param->oid().leaf().c_str(), param->valueToJSON())));
        }
    }
    return foundDescriptor;
}

bool SystemObject::sendDescriptors(const TarnInternalMessage& request, const cJSON* names,
                                   bool found) const {
    UniqueJSON result = jsonObject();
    const cJSON* item = nullptr;
    cJSON_ArrayForEach(item, names) {
        if (const char* const name = jsonText(item)) {
            found = addDescriptor(result.get(), request, name) || found;
        }
    }
    if (found) {
        send_(RSPMessage(request, std::nullopt, std::move(result), kAsDescriptor));
    }
    return found;
}

bool SystemObject::addDescriptor(cJSON* result, const TarnInternalMessage& request,
                                 const char* name) const {
    const std::string& objectName = request.objectName();
    ToskParam* const param = systemState_.findParam(keyOf(localObjectName(objectName), name));
    if (!param) {
        return false;
    }
    param->setOid(ToskOID::fromParts(objectName, name));
    addMember(result, ("d_" + param->oid().toString()).c_str(), param->toJSON());
    return true;
}

void SystemObject::handleSet(const TarnInternalMessage& request) const {
    const UniqueJSON data = request.parseData();
    const cJSON* const param = jsonMember(data.get(), "param");
    if (!cJSON_IsObject(param)) {
        return;
    }
    controllers_.handleSet(param);
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, param) {
        if (member->string) {
            setMember(request, member);
        }
    }
    setActive(request, param);
}

void SystemObject::setMember(const TarnInternalMessage& request, const cJSON* member) const {
    ToskParam* const param =
        systemState_.findParam(keyOf(localObjectName(request.objectName()), member->string));
    if (!param) {
        send_(RSPMessage(request, kNotFound));
        return;
    }
    {
        // Until the reaction is through, the poll leaves the network settings alone: an edit of the
        // file in the same moment must not replace what is asked for here.
        const std::unique_lock<std::mutex> turn = systemState_.takeSettingsTurnFor(*param);
        if (param->setValueFromJSON(member) != 0) {
            send_(RSPMessage(request, kBadRequest));
            return;
        }
    }
    if (param->published()) {
        systemState_.saveToOwnPath(false);
    }
    logMessage(LOG_INFO, "System param Set: %s = %s\n", param->oid().toString().c_str(),
               param->valueToString().c_str());
    send_(RSPMessage(request, kOk));
}

// The value is not looked at: a false also activates.
void SystemObject::setActive(const TarnInternalMessage& request, const cJSON* param) const {
    if (!cJSON_IsBool(jsonMember(jsonMember(param, "systemState"), "active"))) {
        return;
    }
    if (!systemState_.active()) {
        systemState_.setActive(true);
        systemState_.saveToOwnPath(false);
    }
    send_(RSPMessage(request, kOk));
}

void SystemObject::announceChange(const ToskParam& param) const {
    logMessage(LOG_DEBUG, "currentSystemState.setParamChanged_cb: param:%s, val:%s",
               param.oid().toString().c_str(), param.valueToString().c_str());
    const std::string& objectName = param.oid().prefix();
    send_(NOTMessage(objectName, param.oid().leaf(), param.valueToJSON()));
    if (!prefix_.empty()) {
        send_(NOTMessage(prefix_ + "." + objectName, param.oid().leaf(), param.valueToJSON()));
    }
    controllers_.announceActiveController(param);
}

std::string SystemObject::localObjectName(const std::string& objectName) const {
    const std::string tunnel = prefix_ + ".";
    if (!prefix_.empty() && objectName.compare(0, tunnel.size(), tunnel) == 0) {
        return objectName.substr(tunnel.size());
    }
    return objectName;
}

}  // namespace pallwatch
