#include "pallframe/simulation/scenario_player.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "cli/timed_script.h"
#include "pallframe/simulation/devices.h"

namespace pallframe::simulation {

Scenario readScenarioFile(const std::string& file) try {
    return {file, readScenario(cli::script::readFile(file), file)};
} catch (const std::runtime_error& error) {  // of the file or of its text
    throw FrameError(error.what());
}

void checkScenario(const FrameRoot& tree, const Scenario& scenario) try {
    simulation::checkScenario(tree, scenario.steps, scenario.file);
} catch (const cli::script::Error& errors) {
    throw FrameError(errors.what());
}

void play(const FrameRoot& tree, const Scenario& scenario, double speed,
          const std::function<void(const ScenarioStep&)>& done) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    for (const ScenarioStep& step : scenario.steps) {
        const std::chrono::duration<double, std::milli> after(static_cast<double>(step.at.count()) /
                                                              speed);
        std::this_thread::sleep_until(start + std::chrono::duration_cast<Clock::duration>(after));
        try {
            step.change(tree);
        } catch (const FrameError& bad) {
            throw FrameError(cli::script::Error(scenario.file, step.line, bad.what()).what());
        }
        done(step);
    }
}

}  // namespace pallframe::simulation
