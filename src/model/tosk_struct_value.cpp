#include "model/tosk_struct_value.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

namespace {

constexpr std::string_view kMemberPrefix = "_d_";

bool isMemberKey(const char* key) {
    return key && std::string_view(key).starts_with(kMemberPrefix);
}

UniqueJSON memberToJSON(const ToskParam& param) {
    UniqueJSON json = param.toJSON();
    cJSON_DeleteItemFromObjectCaseSensitive(json.get(), "oid");
    return json;
}

}  // namespace

int ToskStructValue::fromJSON(const cJSON* item) {
    if (!item) {
        return -1;
    }
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, item) {
        if (isMemberKey(member->string)) {
            readMember(member, member->string + kMemberPrefix.size());
        }
    }
    return 0;
}

void ToskStructValue::readMember(const cJSON* json, const std::string& memberName) {
    const ToskOID oid = ToskOID::fromParts({}, memberName);
    ToskParam read;
    read.setOid(oid);
    if (read.fromJSON(json) != 0) {
        return;
    }
    const auto held = std::find_if(params_.begin(), params_.end(),
                                   [&oid](const ToskParam& param) { return param.oid() == oid; });
    if (held == params_.end()) {
        params_.push_back(read);
        markChanged();
    } else if (held->setValueFrom(read.value().get())) {
        markChanged();
    }
}

UniqueJSON ToskStructValue::toJSON() const {
    UniqueJSON json = jsonObject();
    for (const ToskParam& param : params_) {
        const std::string key = std::string(kMemberPrefix) + param.oid().leaf();
        addMember(json.get(), key.c_str(), memberToJSON(param));
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
        std::printf("update, sub_param oid=%s\n", param.oid().leaf().c_str());
    }
    return true;
}
