#include "service/master_details_json.h"

namespace {

ControllerDetails controllerFromJSON(const cJSON* item) {
    ControllerDetails details;
    if (const char* const ipAddress = jsonText(jsonMember(item, "ipAddress"))) {
        details.ipAddress = ipAddress;
    }
    details.present = cJSON_IsTrue(jsonMember(item, "present")) != 0;
    details.active = cJSON_IsTrue(jsonMember(item, "active")) != 0;
    if (const char* const version = jsonText(jsonMember(item, "version"))) {
        details.version = version;
    }
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
