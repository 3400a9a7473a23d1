#include "service/master_details_json.h"

#include <cstring>
#include <string>

#include "model/tosk_value.h"

namespace pallwatch {

namespace {

// An item that is not a text, or is too long for a parameter, is ignored.
void readText(const cJSON* item, std::string& text) {
    const char* const found = util::jsonText(item);
    if (found && strnlen(found, ToskStringValue::kMaxBytes + 1) <= ToskStringValue::kMaxBytes) {
        text = found;
    }
}

ControllerDetails controllerFromJSON(const cJSON* item) {
    ControllerDetails details;
    readText(util::jsonMember(item, "ipAddress"), details.ipAddress);
    details.present = cJSON_IsTrue(util::jsonMember(item, "present")) != 0;
    details.active = cJSON_IsTrue(util::jsonMember(item, "active")) != 0;
    readText(util::jsonMember(item, "version"), details.version);
    return details;
}

util::UniqueJSON controllerToJSON(const ControllerDetails& details) {
    util::UniqueJSON item = util::jsonObject();
    util::addMember(item.get(), "ipAddress", util::jsonString(details.ipAddress));
    util::addMember(item.get(), "present", util::jsonBool(details.present));
    util::addMember(item.get(), "active", util::jsonBool(details.active));
    util::addMember(item.get(), "version", util::jsonString(details.version));
    return item;
}

}  // namespace

MasterSystemDetails masterDetailsFromJSON(const cJSON* item) {
    return {controllerFromJSON(util::jsonMember(item, "primary")),
            controllerFromJSON(util::jsonMember(item, "secondary"))};
}

util::UniqueJSON masterDetailsToJSON(const MasterSystemDetails& details) {
    util::UniqueJSON item = util::jsonObject();
    util::addMember(item.get(), "primary", controllerToJSON(details.primary));
    util::addMember(item.get(), "secondary", controllerToJSON(details.secondary));
    return item;
}

}  // namespace pallwatch
