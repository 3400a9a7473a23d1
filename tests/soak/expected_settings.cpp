#include "soak_lib/expected_settings.h"

#include <algorithm>

#include "pallframe/simulation/frame_paths.h"
#include "systemstate/network_settings.h"
#include "util/json.h"

namespace soak {

namespace {

constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";

std::string describeDifference(const std::string& name, const std::string& found,
                               const std::string& expected) {
    return name + " is " + (found.empty() ? "missing" : found) + " instead of " + expected;
}

}  // namespace

void ExpectedSettings::editNetwork(const Addresses& addresses) {
    ++edition_;
    for (size_t i = 0; i < kNetwork.size(); ++i) {
        values_[kNetwork[i]] = std::to_string(addresses[i]);
    }
}

void ExpectedSettings::forgetNetwork() {
    ++edition_;
    for (const char* const name : kNetwork) {
        values_.erase(name);
    }
}

bool ExpectedSettings::isNetworkKnown() const {
    return std::ranges::all_of(kNetwork,
                               [this](const char* name) { return values_.contains(name); });
}

void ExpectedSettings::acknowledge(const Parameter& parameter,
                                   const std::optional<std::string>& value, uint64_t edition) {
    if (value && (!parameter.isNetwork() || edition == edition_)) {
        values_[parameter.name] = *value;
    } else {
        forget(parameter);
    }
}

std::optional<std::string> ExpectedSettings::value(const std::string& name) const {
    const auto found = values_.find(name);
    return found == values_.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::string> ExpectedSettings::compare(
    const pallframe::simulation::FrameRoot& root) const {
    std::vector<std::string> differences;
    compareStateFile(root.read(kStateFile), differences);
    if (root.exists(pallframe::simulation::paths::kNetwork)) {
        compareNetwork(root.read(pallframe::simulation::paths::kNetwork), differences);
    }
    return differences;
}

void ExpectedSettings::compareStateFile(const std::string& text,
                                        std::vector<std::string>& differences) const {
    const util::UniqueJSON root = util::parseJSON(text.data(), text.size());
    const cJSON* const devices =
        util::jsonMember(util::jsonMember(root.get(), "systemState"), "devices");
    const cJSON* const params = util::jsonMember(cJSON_GetArrayItem(devices, 0), "params");
    for (const Parameter& parameter : writableParameters()) {
        const auto expected = value(parameter.name);
        if (!parameter.saved || !parameter.steady || !expected) {
            continue;
        }
        const std::string key = std::string("d_system.") + parameter.name;
        const std::string found = util::renderJSON(
            util::jsonMember(util::jsonMember(params, key.c_str()), "value"), false);
        if (found != *expected) {
            differences.push_back(
                describeDifference("state file: " + std::string(parameter.name), found, *expected));
        }
    }
}

void ExpectedSettings::compareNetwork(const std::string& text,
                                      std::vector<std::string>& differences) const {
    const systemstate::NetworkConf conf = systemstate::decodeNetworkConf(text);
    const std::array addresses{conf.ip, conf.netmask, conf.gateway};
    for (size_t i = 0; i < kNetwork.size(); ++i) {
        const auto expected = value(kNetwork[i]);
        const std::string found = addresses[i] ? std::to_string(*addresses[i]) : "";
        if (expected && found != *expected) {
            differences.push_back(
                describeDifference("network.conf: " + std::string(kNetwork[i]), found, *expected));
        }
    }
}

}  // namespace soak
