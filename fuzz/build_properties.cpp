// Whatever stands in build.prop: the frame has a version text, and no property reaches over a line.

#include "systemstate/build_properties.h"

#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const systemstate::BuildProperties properties =
        systemstate::decodeBuildProperties(textOf(data, size));
    for (const auto& [key, value] : properties) {
        require(key.find_first_of("=\n") == std::string::npos);
        require(value.find('\n') == std::string::npos);
    }
    require(!systemstate::versionText(properties).empty());
    return 0;
}
