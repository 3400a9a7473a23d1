#include "pallframe/simulation/scenario_player.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "cli/timed_script.h"
#include "pallframe/simulation/devices.h"

namespace pallframe::simulation {

namespace {

// Errors in a scenario are errors of the user.
template <typename Work>
auto asked(Work work) {
    try {
        return work();
    } catch (const cli::script::Error& error) {
        throw FrameError(error.what());
    }
}

}  // namespace

Scenario readScenarioFile(const std::string& file) {
    const std::ifstream stream(file, std::ios::binary);
    if (!stream.is_open() || std::filesystem::is_directory(file)) {
        throw FrameError("cannot read " + file + ": " +
                         (stream.is_open() ? "it is a directory" : std::strerror(errno)));
    }
    std::ostringstream text;
    text << stream.rdbuf();
    return asked([&]() -> Scenario { return {file, readScenario(text.str(), file)}; });
}

void checkScenario(const FrameRoot& tree, const Scenario& scenario) {
    asked([&] { simulation::checkScenario(tree, scenario.steps, scenario.file); });
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
