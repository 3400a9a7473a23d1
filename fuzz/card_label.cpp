// Whatever a card says of itself: what is taken for its product is one line of it.

#include "fuzz_target.h"
#include "pallframe/doctor/dependencies.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = textOf(data, size);
    const std::string name = pallframe::doctor::productNamed(text);
    require(name.find('\n') == std::string::npos);
    require(text.find(name) != std::string::npos);
    return 0;
}
