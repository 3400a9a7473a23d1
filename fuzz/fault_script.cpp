// A fault script is either rejected or parsed; what was parsed can be formatted, and parses to the
// same again.

#include "pallbus/faults/fault_script.h"

#include "cli/timed_script.h"
#include "fuzz_target.h"

namespace {

using namespace pallbus::faults;

void requireRoundTrip(const FaultCommand& command) {
    if (const auto* rule = std::get_if<FaultRule>(&command)) {
        const auto again = parseFaultScript(formatFault(*rule), "again");
        require(again.size() == 1 && again[0].command == command);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        for (const FaultStep& step : parseFaultScript(textOf(data, size), "name")) {
            requireRoundTrip(step.command);
        }
    } catch (const cli::script::Error& error) {
        require(std::string(error.what()).starts_with("name:"));
    }
    return 0;
}
