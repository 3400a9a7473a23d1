// Whatever the bus says of the controller pair: what was read of it is written so that it reads the
// same.

#include "fuzz_target.h"
#include "service/master_details_json.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = textOf(data, size);
    const UniqueJSON item = parseJSON(text.data(), text.size());
    const UniqueJSON written = masterDetailsToJSON(masterDetailsFromJSON(item.get()));
    const std::string once = renderJSON(written.get(), false);
    const UniqueJSON back = parseJSON(once.data(), once.size());
    require(renderJSON(masterDetailsToJSON(masterDetailsFromJSON(back.get())).get(), false) ==
            once);
    for (const char* const half : {"primary", "secondary"}) {
        const cJSON* const controller = jsonMember(back.get(), half);
        require(cJSON_IsString(jsonMember(controller, "ipAddress")) != 0);
        require(cJSON_IsBool(jsonMember(controller, "present")) != 0);
        require(cJSON_IsBool(jsonMember(controller, "active")) != 0);
        require(cJSON_IsString(jsonMember(controller, "version")) != 0);
    }
    return 0;
}
