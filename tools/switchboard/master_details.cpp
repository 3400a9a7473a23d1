#include "switchboard/master_details.h"

#include <string_view>

namespace pallbus {

namespace {

constexpr std::string_view kMasterDetails = "kelMasterSystemDetails";
constexpr std::string_view kParam =
    R"({"kelMasterSystemDetails":{)"
    R"("primary":{"ipAddress":"10.1.1.1","present":true,"active":true,"version":"1.0"},)"
    R"("secondary":{"ipAddress":"10.1.1.2","present":true,"active":false,"version":"1.0"}}})";

}  // namespace

bool asksForMasterDetails(const TarnInternalMessage& message) {
    if (message.type() != MessageType::GET || message.objectName() != "system") {
        return false;
    }
    const cJSON* names = jsonMember(jsonMember(message.data(), "param"), "objectName");
    const cJSON* name = nullptr;
    cJSON_ArrayForEach(name, names) {
        const char* text = jsonText(name);
        if (text && text == kMasterDetails) {
            return true;
        }
    }
    return false;
}

UniqueJSON masterDetailsParam() {
    return parseJSON(kParam.data(), kParam.size());
}

}  // namespace pallbus
