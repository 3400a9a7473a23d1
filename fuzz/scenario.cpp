// A scenario is either refused with its file and line, or is a bounded list of changes in the order
// of their times, each of which can be made.

#include "pallframe/simulation/scenario.h"

#include "fuzz_target.h"

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    try {
        const auto steps = pallframe::simulation::readScenario(textOf(data, size), "name");
        require(steps.size() <= pallframe::simulation::kMaxSteps);
        std::chrono::milliseconds before{};
        for (const pallframe::simulation::ScenarioStep& step : steps) {
            require(step.at >= before);
            require(step.change.make != nullptr && !step.text.empty());
            before = step.at;
        }
    } catch (const cli::script::Error& error) {
        require(std::string(error.what()).starts_with("name:"));
    }
    return 0;
}
