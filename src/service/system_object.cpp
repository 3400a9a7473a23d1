// A GET is answered name by name; the descriptors it asks for share one response. A SET is carried
// out member by member and can stop after each of them: the request stays in set_ until its last
// member. What it changed is saved once a turn, and before each command.

#include "service/system_object.h"

#include <syslog.h>

#include <set>
#include <string_view>
#include <utility>

#include "bus/messages.h"
#include "model/tosk_device.h"
#include "model/tosk_param.h"
#include "service/state_saver.h"
#include "systemstate/system_state.h"
#include "util/append.h"
#include "util/log.h"
#include "util/text.h"

namespace pallwatch {

namespace {

constexpr const char* kWholeDevice = "paramDescriptor";
constexpr int kOk = 200;
constexpr int kBadRequest = 400;
constexpr int kNotFound = 404;
constexpr int kAsDescriptor = 1;

// Parameters are stored under their identifier's full text.
std::string makeKey(std::string_view prefix, std::string_view leaf) {
    std::string key;
    util::append(key, {prefix, ".", leaf});
    return key;
}

util::UniqueJSON singleMember(const char* key, util::UniqueJSON value) {
    util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), key, std::move(value));
    return object;
}

// Calls `use` with each of the names, once. A frame has room for more names than the memory has for
// their answers.
template <typename Use>
void forEachName(const lumo::NameQuery::Names& names, Use use) {
    std::set<std::string_view> seen;
    for (const std::string_view name : names) {
        if (names.size() == 1 || seen.insert(name).second) {
            use(name);
        }
    }
}

}  // namespace

SystemObject::SystemObject(SystemState& systemState, const std::string& prefix,
                           const RedundantControllers& controllers, StateSaver& saver,
                           const SendMessage& send)
    : systemState_(systemState),
      prefix_(prefix),
      controllers_(controllers),
      saver_(saver),
      send_(send) {}

bool SystemObject::handleGet(const TarnInternalMessage& request) const {
    bool found = false;
    const lumo::NameQuery& query = request.nameQuery();
    if (query.values) {
        found = sendValues(request, *query.values);
    }
    if (query.descriptors) {
        found = sendDescriptors(request, *query.descriptors, found);
    }
    return found;
}

bool SystemObject::sendValues(const TarnInternalMessage& request,
                              const lumo::NameQuery::Names& names) const {
    bool foundDescriptor = false;
    forEachName(names, [&](std::string_view name) {
        if (name == kWholeDevice) {
            send_(RSPMessage(request, std::nullopt,
                             singleMember(kWholeDevice, systemState_.device()->toJSON())));
            foundDescriptor = true;
        } else if (const ToskParam* const param =
                       systemState_.findParam(makeKey(request.objectName(), name))) {
            send_(RSPMessage(request, param->oid().leaf(), param->valueToText()));
        }
    });
    return foundDescriptor;
}

bool SystemObject::sendDescriptors(const TarnInternalMessage& request,
                                   const lumo::NameQuery::Names& names, bool found) const {
    util::UniqueJSON result = util::jsonObject();
    forEachName(names, [&](std::string_view name) {
        found = addDescriptor(result.get(), request, name) || found;
    });
    if (found) {
        send_(RSPMessage(request, std::nullopt, std::move(result), kAsDescriptor));
    }
    return found;
}

bool SystemObject::addDescriptor(cJSON* result, const TarnInternalMessage& request,
                                 std::string_view name) const {
    const std::string& objectName = request.objectName();
    ToskParam* const param = systemState_.findParam(makeKey(localObjectName(objectName), name));
    if (!param) {
        return false;
    }
    param->setOid(ToskOID::fromParts(objectName, std::string(name)));
    util::addMember(result, ("d_" + param->oid().toString()).c_str(), param->toJSON());
    return true;
}

void SystemObject::beginSet(TarnInternalMessage request) {
    set_.reset();
    const cJSON* const param = util::jsonMember(request.data(), "param");
    if (!cJSON_IsObject(param)) {
        return;
    }
    controllers_.handleSet(param);
    std::string localName = localObjectName(request.objectName());
    set_.emplace(SetUnderWay{std::move(request), std::move(localName), param, param->child});
}

bool SystemObject::workOnSet(const std::function<bool()>& isTurnOver) try {
    if (set_ && setMembers(*set_, isTurnOver)) {
        setActive(*set_);
        set_.reset();
    }
    saver_.save();
    return !set_;
} catch (...) {
    // The value that was being set may be there without its answer.
    set_.reset();
    saver_.noteChange();
    saver_.save();
    throw;
}

bool SystemObject::setMembers(SetUnderWay& set, const std::function<bool()>& isTurnOver) {
    while (set.next != nullptr) {
        const cJSON* const member = std::exchange(set.next, set.next->next);
        if (member->string != nullptr) {
            setMember(set, member);
        }
        if (set.next != nullptr && isTurnOver()) {
            return false;
        }
    }
    return true;
}

void SystemObject::setMember(const SetUnderWay& set, const cJSON* member) {
    const std::string key = makeKey(set.localName, member->string);
    ToskParam* const param = systemState_.findParam(key);
    if (!param) {
        send_(RSPMessage(set.request, kNotFound));
        return;
    }
    // A command sends what was answered so far on its way.
    if (systemState_.runsCommands(*param)) {
        saver_.save();
    }
    if (systemState_.setFromRequest(*param, member) != 0) {
        send_(RSPMessage(set.request, kBadRequest));
        return;
    }
    if (param->published()) {
        saver_.noteChange();
    }
    util::logMessage(LOG_INFO, "System param Set: %s = %s\n", key.c_str(),
                     util::shownPayload(param->valueToString()).c_str());
    send_(RSPMessage(set.request, kOk));
}

// The value is not looked at: a false also activates.
void SystemObject::setActive(const SetUnderWay& set) {
    if (!cJSON_IsBool(util::jsonMember(util::jsonMember(set.param, "systemState"), "active"))) {
        return;
    }
    if (!systemState_.active()) {
        systemState_.setActive(true);
        saver_.noteChange();
    }
    send_(RSPMessage(set.request, kOk));
}

void SystemObject::announceChange(const ToskParam& param) const {
    util::logMessage(LOG_DEBUG, "currentSystemState.setParamChanged_cb: param:%s, val:%s",
                     param.oid().toString().c_str(),
                     util::shownPayload(param.valueToString()).c_str());
    const std::string& objectName = param.oid().prefix();
    const util::JSONText value = param.valueToText();
    send_(NOTMessage(objectName, param.oid().leaf(), value));
    if (!prefix_.empty()) {
        send_(NOTMessage(prefix_ + "." + objectName, param.oid().leaf(), value));
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
