// Whatever the bus says of the controller pair: what was read of it is written so that it reads the
// same.

#include "fuzz_target.h"
#include "service/master_details_json.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = textOf(data, size);
    const util::UniqueJSON item = util::parseJSON(text.data(), text.size());
    const util::UniqueJSON written =
        pallwatch::masterDetailsToJSON(pallwatch::masterDetailsFromJSON(item.get()));
    const std::string once = util::renderJSON(written.get(), false);
    const util::UniqueJSON back = util::parseJSON(once.data(), once.size());
    require(util::renderJSON(
                pallwatch::masterDetailsToJSON(pallwatch::masterDetailsFromJSON(back.get())).get(),
                false) == once);
    for (const char* const half : {"primary", "secondary"}) {
        const cJSON* const controller = util::jsonMember(back.get(), half);
        require(cJSON_IsString(util::jsonMember(controller, "ipAddress")) != 0);
        require(cJSON_IsBool(util::jsonMember(controller, "present")) != 0);
        require(cJSON_IsBool(util::jsonMember(controller, "active")) != 0);
        require(cJSON_IsString(util::jsonMember(controller, "version")) != 0);
    }
    return 0;
}
