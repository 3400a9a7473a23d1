#include "service/device_name.h"

#include <syslog.h>

#include <algorithm>

#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "util/file_replacement.h"
#include "util/files.h"
#include "util/log.h"
#include "util/text.h"

namespace pallwatch {

namespace {

// As text without colons, the form in which ports are labelled.
std::string macAddress(const systemstate::Machine& machine) {
    std::string mac = util::readFirstLine(machine.path(systemstate::kMacAddressFile));
    mac.erase(std::remove(mac.begin(), mac.end(), ':'), mac.end());
    return mac;
}

std::string readDeviceLabel(const systemstate::Machine& machine) {
    const std::string text = util::readWholeFile(machine.path(systemstate::kDeviceLabelsFile));
    const util::UniqueJSON labels = util::parseJSON(text.data(), text.size());
    return findDeviceLabel(labels.get(), macAddress(machine));
}

}  // namespace

std::string findDeviceLabel(const cJSON* labels, const std::string& mac) {
    const cJSON* child = nullptr;
    cJSON_ArrayForEach(child, labels) {
        const char* const port = util::jsonText(util::jsonMember(child, "port"));
        const char* const label = util::jsonText(util::jsonMember(child, "label"));
        if (port && label && *label && std::string_view(port).find(mac) != std::string_view::npos) {
            return label;
        }
    }
    return {};
}

std::string synchroniseDeviceName(const systemstate::Machine& machine) {
    std::string label = readDeviceLabel(machine);
    const std::string path = machine.path(systemstate::kDeviceNameFile);
    const std::string held = util::readFirstLine(path);
    if (label.empty() || label == held) {
        return label;
    }
    if (util::replaceFile(path, label) == util::WriteFailure::none) {
        util::logMessage(LOG_INFO, "*DEBUG* Update UI Device Name: old[%s] new[%s]\n",
                         util::shownPayload(held).c_str(), util::shownPayload(label).c_str());
    } else {
        util::logMessage(LOG_ERR, "Error writing %s - %m\n", path.c_str());
    }
    return label;
}

}  // namespace pallwatch
