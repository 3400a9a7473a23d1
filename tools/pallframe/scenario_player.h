#pragma once

#include <functional>
#include <string>
#include <vector>

#include "frame/scenario.h"
#include "frame/tree.h"

namespace pallframe {

// A scenario as it stands in a file.
struct Scenario {
    std::string file;
    std::vector<frame::ScenarioStep> steps;
};

// Throws frame::BadRequest, also for what is wrong with its text.
Scenario readScenarioFile(const std::string& file);

// Throws frame::BadRequest with all steps that this frame, as it is before the first, does not
// allow.
void checkScenario(const frame::Tree& tree, const Scenario& scenario);

// Does the steps on a frame, each at its time from now on; `speed` 2 takes half of the time. Tells
// of each one that is done. Comes back after the last one. A step that this frame does not allow is
// a frame::BadRequest; throws std::system_error when its files cannot be written.
void play(const frame::Tree& tree, const Scenario& scenario, double speed,
          const std::function<void(const frame::ScenarioStep&)>& done);

}  // namespace pallframe
