// Whatever stands in a script or in the kernel's table of sockets: what the doctor takes from it
// stands there.

#include "fuzz_target.h"
#include "pallframe/doctor/interpreters.h"
#include "pallframe/doctor/running_root.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = textOf(data, size);
    const std::vector<std::string> interpreters = pallframe::doctor::findInterpreters(text);
    require(interpreters.size() <= 2);
    for (const std::string& one : interpreters) {
        require(!one.empty() && one.find('\n') == std::string::npos);
        require(text.find(one) < text.find('\n'));
    }
    const bool isHeard = pallframe::doctor::hasListener(text, 15000);
    require(!isHeard || text.find(":3A98") != std::string::npos);
    return 0;
}
