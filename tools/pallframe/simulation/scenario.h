#pragma once

#include <chrono>
#include <functional>
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

// A scenario from a file.
struct Scenario {
    std::string file;
    std::vector<ScenarioStep> steps;
};

// How many changes a scenario makes at most, its repetitions and ramps written out.
inline constexpr size_t kMaxSteps = 100'000;

// Reads a scenario (timed_script.h): changes, and ramps of a change whose last word is a number,
//
//     after 2s ramp battery 3.2 to 2.3 over 30s
//
// which continue while the following lines run. Returns the steps in the order of their times and
// carries out none. Both throw script::Error with all errors.
std::vector<ScenarioStep> readScenario(std::string_view text, std::string_view name);
Scenario readScenarioFile(const std::string& file);

// Checks the steps of a scenario against a frame as it is now: a file to set aside must exist
// unless an earlier step restores it, and only files can be edited. Files that the daemon writes
// may appear while the scenario is running. Throws script::Error with all errors.
void checkScenario(const FrameRoot& tree, const std::vector<ScenarioStep>& steps,
                   std::string_view name);

// Performs the steps on a frame, each at its time from now on; `speed` 2 takes half of the time.
// Calls `done` after each step. Returns after the last one. Throws script::Error for a step that
// this frame does not allow, std::system_error when its files cannot be written.
void play(const FrameRoot& tree, const Scenario& scenario, double speed,
          const std::function<void(const ScenarioStep&)>& done);

}  // namespace pallframe::simulation
