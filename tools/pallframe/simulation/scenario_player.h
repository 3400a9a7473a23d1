#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pallframe/simulation/frame_root.h"
#include "pallframe/simulation/scenario.h"

namespace pallframe::simulation {

// A scenario from a file.
struct Scenario {
    std::string file;
    std::vector<ScenarioStep> steps;
};

// Throws FrameError, also for errors in its text.
Scenario readScenarioFile(const std::string& file);

// Throws FrameError with all steps that this frame, as it is before the first step, does not
// allow.
void checkScenario(const FrameRoot& tree, const Scenario& scenario);

// Performs the steps on a frame, each at its time from now on; `speed` 2 takes half of the time.
// Calls `done` after each step. Returns after the last one. A step that this frame does not allow
// is a FrameError; throws std::system_error when its files cannot be written.
void play(const FrameRoot& tree, const Scenario& scenario, double speed,
          const std::function<void(const ScenarioStep&)>& done);

}  // namespace pallframe::simulation
