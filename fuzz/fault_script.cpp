// A fault script is either rejected or parsed; the words of each fault parse to the same
// fault again.

#include "pallbus/faults/fault_script.h"

#include "cli/timed_script.h"
#include "fuzz_target.h"

namespace {

using namespace pallbus::faults;

void requireRoundTrip(const FaultRule& fault) {
    const auto again = parseFaultScript(fault.text.words, "again");
    require(again.size() == 1 && again[0].fault == fault);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        for (const FaultStep& step : parseFaultScript(textOf(data, size), "name")) {
            requireRoundTrip(step.fault);
        }
    } catch (const cli::script::Error& error) {
        require(std::string(error.what()).starts_with("name:"));
    }
    return 0;
}
