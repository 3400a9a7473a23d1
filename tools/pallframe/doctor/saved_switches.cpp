#include "pallframe/doctor/saved_switches.h"

#include "model/param_values.h"
#include "util/json.h"

namespace pallframe::doctor {

namespace {

constexpr const char* kDevices = "systemState";  // the member of the state file that has them

const ToskParam* findIn(const ToskDevice& device, std::string_view name) {
    const std::string own = "system." + std::string(name);
    if (const ToskParam* const param = device.findParam(own)) {
        return param;
    }
    // Saved under a tunnelled name it belongs to the switch all the same.
    for (const auto& [key, param] : device.params()) {
        if (key.ends_with("." + own)) {
            return param.get();
        }
    }
    return nullptr;
}

}  // namespace

SavedSwitches::SavedSwitches(const std::string& text) : saved_("") {
    const util::UniqueJSON root = util::parseJSON(text.data(), text.size());
    usable_ = saved_.fromJSON(util::jsonMember(root.get(), kDevices)) == 0;
}

std::optional<std::string_view> SavedSwitches::findState(std::string_view name) const {
    const ToskParam* const param =
        saved_.devices().empty() ? nullptr : findIn(*saved_.devices().front(), name);
    if (param == nullptr) {
        return std::nullopt;
    }
    const std::optional<int64_t> number = model::readInteger(param);
    return number == 0 ? "0" : number == 1 ? "1" : "";
}

}  // namespace pallframe::doctor
