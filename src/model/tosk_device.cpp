#include "model/tosk_device.h"

#include <algorithm>
#include <string_view>

#include "util/json_fields.h"

namespace {

constexpr const char* kDeviceType = "device";

}  // namespace

int ToskDevice::fromJSON(const cJSON* item) {
    if (item && readHead(item)) {
        readParams(util::jsonMember(item, "params"));
        readMenuGroups(util::jsonMember(item, "menu_groups"));
    }
    // Also after a complete read: the reader of a device list keeps devices that return -1.
    return -1;
}

bool ToskDevice::readHead(const cJSON* item) {
    const char* type = util::jsonText(util::jsonMember(item, "type"));
    const cJSON* slot = util::jsonMember(item, "slot");
    if ((type && std::string_view(type) != kDeviceType) || !slot) {
        return false;
    }
    slot_ = util::integerValue(slot);
    return true;
}

void ToskDevice::readParams(const cJSON* params) {
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, params) {
        auto param = std::make_unique<ToskParam>();
        if (param->fromJSON(member) == 0) {
            addParam(std::move(param));
        }
    }
}

void ToskDevice::readMenuGroups(const cJSON* groups) {
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, groups) {
        auto group = std::make_unique<ToskMenuGroup>();
        if (group->fromJSON(member) == 0) {
            listChild(group.get());
            readGroups_.push_back(std::move(group));
        }
    }
}

util::UniqueJSON ToskDevice::toJSON() const {
    return makeItem(publishedParamsToJSON());
}

util::UniqueJSON ToskDevice::toSavedJSON() const {
    return makeItem(publishedParamsToRaw());
}

util::UniqueJSON ToskDevice::makeItem(util::UniqueJSON publishedParams) const {
    util::UniqueJSON json = util::jsonObject();
    util::addMember(json.get(), "type", util::jsonString(kDeviceType));
    util::addMember(json.get(), "slot", util::jsonNumber(slot_));
    if (!isEmpty()) {
        util::addMember(json.get(), "menu_groups", menuGroupsToJSON());
    }
    if (!params_.empty()) {
        util::addMember(json.get(), "params", std::move(publishedParams));
    }
    return json;
}

util::UniqueJSON ToskDevice::menuGroupsToJSON() const {
    util::UniqueJSON json = util::jsonObject();
    for (const ToskObject* group : children()) {
        util::addMember(json.get(), group->name().c_str(), group->toJSON());
    }
    return json;
}

util::UniqueJSON ToskDevice::publishedParamsToJSON() const {
    util::UniqueJSON json = util::jsonObject();
    for (const auto& [key, param] : params_) {
        if (param->published()) {
            util::addMember(json.get(), model::makeMemberKey(*param).c_str(), param->toJSON());
        }
    }
    return json;
}

util::UniqueJSON ToskDevice::publishedParamsToRaw() const {
    std::string text("{");
    auto saved = savedTexts_.begin();
    for (const auto& [key, param] : params_) {
        if (param->published()) {
            if (saved == savedTexts_.end()) {
                saved = savedTexts_.emplace(saved);
            }
            text.append(saved == savedTexts_.begin() ? "" : ",").append(saved->update(*param));
            ++saved;
        }
    }
    text.append(1, '\n').append(model::SavedText::kDepth - 1, '\t').append(1, '}');
    return util::jsonRaw(text);
}

util::UniqueJSON ToskDevice::valuesToJSON() const {
    util::UniqueJSON json = util::jsonObject();
    for (const auto& [key, param] : params_) {
        util::addMember(json.get(), param->oid().toString().c_str(), param->valueToJSON());
    }
    return json;
}

ToskParam* ToskDevice::findParam(std::string_view key) const {
    const auto found = params_.find(key);
    return found == params_.end() ? nullptr : found->second.get();
}

ToskParam* ToskDevice::findParamByName(const std::string& name) const {
    const auto found = std::find_if(params_.begin(), params_.end(), [&name](const auto& entry) {
        return entry.second->name() == name;
    });
    return found == params_.end() ? nullptr : found->second.get();
}

void ToskDevice::rename(const std::string& key, const ToskOID& oid) {
    Params::node_type node = params_.extract(key);
    if (!node.empty()) {
        node.mapped()->setOid(oid);
        addParam(std::move(node.mapped()));
    }
}

ToskParam* ToskDevice::addParam(std::unique_ptr<ToskParam> param) {
    const std::string key = param->oid().toString();
    return (params_[key] = std::move(param)).get();
}
