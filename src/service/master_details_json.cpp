#include "service/master_details_json.h"

#include <cstring>
#include <string>

#include "model/tosk_value.h"

namespace {

// What is no text, or longer than a parameter takes, changes nothing.
void readText(const cJSON* item, std::string& text) {
    const char* const found = jsonText(item);
    if (found && strnlen(found, ToskStringValue::kLongest + 1) <= ToskStringValue::kLongest) {
        text = found;
    }
}

ControllerDetails controllerFromJSON(const cJSON* item) {
    ControllerDetails details;
    readText(jsonMember(item, "ipAddress"), details.ipAddress);
    details.present = cJSON_IsTrue(jsonMember(item, "present")) != 0;
    details.active = cJSON_IsTrue(jsonMember(item, "active")) != 0;
    readText(jsonMember(item, "version"), details.version);
    return details;
}

UniqueJSON controllerToJSON(const ControllerDetails& details) {
    UniqueJSON item = jsonObject();
    addMember(item.get(), "ipAddress", jsonString(details.ipAddress));
    addMember(item.get(), "present", jsonBool(details.present));
    addMember(item.get(), "active", jsonBool(details.active));
    addMember(item.get(), "version", jsonString(details.version));
    return item;
}

}  // namespace

MasterSystemDetails masterDetailsFromJSON(const cJSON* item) {
    return {controllerFromJSON(jsonMember(item, "primary")),
            controllerFromJSON(jsonMember(item, "secondary"))};
}

UniqueJSON masterDetailsToJSON(const MasterSystemDetails& details) {
    UniqueJSON item = jsonObject();
    addMember(item.get(), "primary", controllerToJSON(details.primary));
    addMember(item.get(), "secondary", controllerToJSON(details.secondary));
    return item;
}
