#include "service/device_name.h"

#include <syslog.h>

#include <algorithm>

#include "model/file_replacement.h"
#include "model/files.h"
#include "model/log.h"
#include "model/text.h"
#include "service/paths.h"
#include "systemstate/machine.h"

namespace {

// As text without colons, the form in which ports are labelled.
std::string macAddress(const Machine& machine) {
    std::string mac = readFirstLine(machine.path(kMacAddressFile));
    mac.erase(std::remove(mac.begin(), mac.end(), ':'), mac.end());
    return mac;
}

std::string readDeviceLabel(const Machine& machine) {
    const std::string text = readWholeFile(machine.path(kDeviceLabelsFile));
    const UniqueJSON labels = parseJSON(text.data(), text.size());
    return findDeviceLabel(labels.get(), macAddress(machine));
}

}  // namespace

std::string findDeviceLabel(const cJSON* labels, const std::string& mac) {
    const cJSON* child = nullptr;
    cJSON_ArrayForEach(child, labels) {
        const char* const port = jsonText(jsonMember(child, "port"));
        const char* const label = jsonText(jsonMember(child, "label"));
        if (port && label && *label && std::string_view(port).find(mac) != std::string_view::npos) {
            return label;
        }
    }
    return {};
}

std::string synchroniseDeviceName(const Machine& machine) {
    std::string label = readDeviceLabel(machine);
    const std::string path = machine.path(kDeviceNameFile);
    const std::string held = readFirstLine(path);
    if (label.empty() || label == held) {
        return label;
    }
    if (replaceFile(path, label) == WriteFailure::none) {
        logMessage(LOG_INFO, "*DEBUG* Update UI Device Name: old[%s] new[%s]\n",
                   shownPayload(held).c_str(), shownPayload(label).c_str());
    } else {
        logMessage(LOG_ERR, "Error writing %s - %m\n", path.c_str());
    }
    return label;
}
