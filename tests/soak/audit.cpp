#include "soaking/audit.h"

#include "pallframe/simulation/paths.h"
#include "systemstate/network_settings.h"
#include "util/json.h"

namespace soak {

namespace {

constexpr const char* kStateFile = "/vantor/etc/configurableSystemDetails.json";

void auditState(const pallframe::simulation::FrameRoot& tree, const Ledger& ledger,
                std::vector<std::string>& found) {
    const std::string text = tree.read(kStateFile);
    const util::UniqueJSON root = util::parseJSON(text.data(), text.size());
    const cJSON* const devices =
        util::jsonMember(util::jsonMember(root.get(), "systemState"), "devices");
    const cJSON* const params = util::jsonMember(cJSON_GetArrayItem(devices, 0), "params");
    for (const Parameter& parameter : writableParameters()) {
        const auto due = ledger.acknowledged(parameter.name);
        if (!parameter.saved || !parameter.steady || !due) {
            continue;
        }
        const std::string key = std::string("d_system.") + parameter.name;
        const std::string held = util::renderJSON(
            util::jsonMember(util::jsonMember(params, key.c_str()), "value"), false);
        if (held != *due) {
            found.push_back(std::string("state file: ") + parameter.name + " is " + held +
                            ", acknowledged was " + *due);
        }
    }
}

std::string textOf(const SettingsBook::Settings& settings) {
    std::string text;
    for (const auto& one : settings) {
        text += " " + (one ? dottedText(*one) : "?");
    }
    return text;
}

}  // namespace

std::vector<std::string> audit(const pallframe::simulation::FrameRoot& tree, const Ledger& ledger,
                               const SettingsBook& book) {
    std::vector<std::string> found;
    auditState(tree, ledger, found);
    if (tree.exists(pallframe::simulation::paths::kNetwork)) {
        const NetworkConf conf =
            decodeNetworkConf(tree.read(pallframe::simulation::paths::kNetwork));
        const SettingsBook::Settings inFile{conf.ip, conf.netmask, conf.gateway};
        if (!book.agrees(inFile)) {
            found.push_back("network.conf holds" + textOf(inFile) + ", due are" +
                            textOf(book.settings()));
        }
    }
    return found;
}

}  // namespace soak
