#include "model/tosk_struct_value.h"

#include "model/struct_size.h"
#include "util/trace.h"

namespace {

// A member that comes without any identifier bears its key's name, also the empty one.
bool readNamed(ToskParam& param, const cJSON* json, const std::string& name) {
    constexpr const char* kStandIn = "_";
    const bool nameless = name.empty() && !util::jsonText(util::jsonMember(json, "oid"));
    param.setOid(ToskOID::fromParts({}, nameless ? kStandIn : name));
    const bool read = param.fromJSON(json) == 0;
    if (nameless) {
        param.setOid(ToskOID::fromParts({}, name));
    }
    return read;
}

util::UniqueJSON memberToJSON(const ToskParam& param) {
    util::UniqueJSON json = param.toJSON();
    cJSON_DeleteItemFromObjectCaseSensitive(json.get(), "oid");
    return json;
}

}  // namespace

int ToskStructValue::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    // A frame can bring half a million members; each looked for among all others would take hours.
    Places places;
    for (std::size_t place = 0; place < params_.size(); ++place) {
        notePlace(places, place);
    }
    if (!fits(places, item)) {
        return -1;
    }
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, item) {
        if (model::isMemberKey(member->string)) {
            readMember(places, member, member->string + model::kMemberPrefix.size());
        }
    }
    return 0;
}

// A member that is held takes over no more than the value, and may keep the one it has.
bool ToskStructValue::fits(const Places& places, const cJSON* item) const {
    model::StructSize size = model::sizeOfValue(this);
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, item) {
        if (!model::isMemberKey(member->string)) {
            continue;
        }
        const std::string name = member->string + model::kMemberPrefix.size();
        const auto held = places.find(name);
        if (held == places.end()) {
            size += model::sizeOfMember(member, name);
        } else {
            const model::StructSize old = model::sizeOfValue(params_[held->second].value().get());
            size += model::sizeOfValue(util::jsonMember(member, "value")).over(old);
        }
    }
    return !size.tooLarge();
}

void ToskStructValue::notePlace(Places& places, std::size_t place) const {
    const ToskOID& oid = params_[place].oid();
    if (oid.prefix().empty()) {
        places.emplace(oid.leaf(), place);
    }
}

void ToskStructValue::readMember(Places& places, const cJSON* json, const std::string& memberName) {
    ToskParam read;
    if (!readNamed(read, json, memberName)) {
        return;
    }
    const auto held = places.find(memberName);
    if (held == places.end()) {
        params_.push_back(read);
        notePlace(places, params_.size() - 1);
        markChanged();
    } else if (params_[held->second].setValueFrom(read.value().get())) {
        markChanged();
    }
}

util::UniqueJSON ToskStructValue::toJSON() const {
    util::UniqueJSON json = util::jsonObject();
    for (const ToskParam& param : params_) {
        const std::string key = std::string(model::kMemberPrefix) + param.oid().leaf();
        util::addMember(json.get(), key.c_str(), memberToJSON(param));
    }
    return json;
}

bool ToskStructValue::updateFrom(const ToskParam&, const ToskValue* other) {
    const auto* source = dynamic_cast<const ToskStructValue*>(other);
    if (!source || !isCompatible(*source)) {
        return false;
    }
    // The old members go only after the copy: one of them may be what holds `other`.
    std::vector<ToskParam> members = source->params_;
    params_.swap(members);
    for (const ToskParam& param : params_) {
        util::trace("update, sub_param oid=%s\n", param.oid().leaf().c_str());
    }
    return true;
}
