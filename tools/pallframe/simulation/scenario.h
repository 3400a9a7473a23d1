#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "cli/timed_script.h"
#include "pallframe/simulation/operations.h"

namespace pallframe::simulation {

// One change of a scenario.
struct ScenarioStep {
    std::chrono::milliseconds at{};  // since the start
    std::string text;                // the change in words
    Operation change;
    int line = 0;  // of the text that asks for it
};

// How many changes a scenario makes at most, its repetitions and ramps written out.
inline constexpr size_t kMaxSteps = 100'000;

// Reads a scenario (timed_script.h): changes, and ramps of a change whose last word is a number,
//
//     after 2s ramp battery 3.2 to 2.3 over 30s
//
// which continue while the following lines run. Returns the steps in the order of their times and
// carries out none. Throws script::Error with all errors.
std::vector<ScenarioStep> readScenario(std::string_view text, std::string_view name);

// Checks the steps of a scenario against a frame as it is now: a file to set aside must exist
// unless an earlier step restores it, and only files can be edited. Files that the daemon writes
// may appear while the scenario is running. Throws script::Error with all errors.
void checkScenario(const FrameRoot& tree, const std::vector<ScenarioStep>& steps,
                   std::string_view name);

}  // namespace pallframe::simulation
