// A scenario is either refused with its file and line, or is a bounded list of changes in the order
// of their times, each of which can be made.

#include "frame/scenario.h"

#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const auto steps = frame::readScenario(textOf(data, size), "name");
        require(steps.size() <= frame::kMostSteps);
        std::chrono::milliseconds before{};
        for (const frame::ScenarioStep& step : steps) {
            require(step.at >= before);
            require(step.change.make != nullptr && !step.text.empty());
            before = step.at;
        }
    } catch (const cli::script::Error& error) {
        require(std::string(error.what()).starts_with("name:"));
    }
    return 0;
}
