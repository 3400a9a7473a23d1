// A script of trouble is either refused or read; what was read can be written, and reads the same
// again.

#include "fuzz_target.h"
#include "program/timed_script.h"
#include "trouble/plan.h"

namespace {

void requireReadableAgain(const pallbus::Order& order) {
    if (const auto* rule = std::get_if<pallbus::Rule>(&order)) {
        const auto again = pallbus::parsePlan(pallbus::textOf(*rule), "again");
        require(again.size() == 1 && again[0].order == order);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        for (const pallbus::Step& step : pallbus::parsePlan(textOf(data, size), "name")) {
            requireReadableAgain(step.order);
        }
    } catch (const script::Error& error) {
        require(std::string(error.what()).starts_with("name:"));
    }
    return 0;
}
