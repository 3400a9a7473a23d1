// Each line becomes one step, a ramp becomes four steps a second. Reading goes on after an error,
// so that one run reports all of them. checkScenario() then follows the files through the steps:
// which exist at the start, and which an earlier step restores.

#include "pallframe/simulation/scenario.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>
#include <thread>

#include "cli/parse_number.h"
#include "cli/similar_words.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::simulation {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kRampStep{250};  // four for each look that the daemon takes
constexpr int kMaxRampSteps = 1000;

// "WHAT... FROM to TO over TIME"
struct Ramp {
    Words what;
    double from;
    double to;
    milliseconds time;
};

double parseDecimal(const std::string& word) {
    const auto number = cli::parseNumber<double>(word);
    if (!number) {
        throw FrameError("'" + word + "' is not a number");
    }
    return *number;
}

Ramp readRamp(const Words& words) {
    constexpr size_t kBehindWhat = 5;
    const size_t size = words.size();
    if (size < 2 + kBehindWhat || words[size - 4] != "to" || words[size - 2] != "over") {
        throw FrameError("a ramp is written: ramp battery 3.2 to 2.3 over 30s");
    }
    const auto time = cli::script::parseDuration(words[size - 1]);
    if (!time) {
        throw FrameError(cli::script::invalidDuration(words[size - 1]));
    }
    const Words what(words.begin() + 1, words.end() - kBehindWhat);
    return {what, parseDecimal(words[size - 5]), parseDecimal(words[size - 3]), *time};
}

std::string formatValue(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.3f", value);
    return text.data();
}

ScenarioStep makeStep(milliseconds at, const Words& words, int line) {
    return {at, commandLine(words), parseOperation(words), line};
}

// "; did you mean 'cable'?", or "". `others` are words that a line can begin with beside a change.
std::string suggestChange(const std::string& word, std::vector<std::string> others) {
    for (const OperationKind& kind : operationKinds()) {
        others.emplace_back(kind.name);
    }
    return cli::suggest(word, others);
}

ScenarioStep makeRampStep(milliseconds at, const Words& words, int line) {
    try {
        return makeStep(at, words, line);
    } catch (const UnknownOperation& unknown) {
        throw FrameError(unknown.what() + suggestChange(words[0], {}));
    }
}

// Collects the steps of all lines.
class Steps {
  public:
    void take(const cli::script::Line& line) {
        if (line.words[0] == "ramp") {
            takeRamp(readRamp(line.words), line);
        } else {
            takeChange(line);
        }
    }

    bool areTooMany() const { return tooMany_; }

    std::vector<ScenarioStep> inOrder() && {
        std::stable_sort(
            steps_.begin(), steps_.end(),
            [](const ScenarioStep& one, const ScenarioStep& other) { return one.at < other.at; });
        return std::move(steps_);
    }

  private:
    void takeChange(const cli::script::Line& line) {
        try {
            add(makeStep(line.at, line.words, line.number));
        } catch (const UnknownOperation& unknown) {
            throw FrameError(std::string(unknown.what()) + ", ramp, repeat, end" +
                             suggestChange(line.words[0], {"ramp", "repeat", "end"}));
        }
    }

    void takeRamp(const Ramp& ramp, const cli::script::Line& line) {
        const auto count = static_cast<int>(
            std::clamp<milliseconds::rep>(ramp.time / kRampStep, 1, kMaxRampSteps));
        for (int i = 0; i <= count; ++i) {
            Words words = ramp.what;
            words.push_back(formatValue(ramp.from + (ramp.to - ramp.from) * i / count));
            add(makeRampStep(line.at + ramp.time * i / count, words, line.number));
        }
    }

    void add(ScenarioStep step) {
        if (steps_.size() == kMaxSteps) {
            tooMany_ = true;
            throw FrameError("more than " + std::to_string(kMaxSteps) + " changes");
        }
        steps_.push_back(std::move(step));
    }

    std::vector<ScenarioStep> steps_;
    bool tooMany_ = false;
};

// The directory in which the daemon creates files after its start, such as its saved state.
bool mayCome(std::string_view file) {
    return file.starts_with("/vantor/etc/");
}

}  // namespace

std::vector<ScenarioStep> readScenario(std::string_view text, std::string_view name) {
    cli::script::Errors problems(name);
    std::set<int> wrong;  // lines, each of which a repetition may bring any number of times
    Steps steps;
    for (const cli::script::Line& line : cli::script::parse(text, problems)) {
        if (wrong.contains(line.number) || steps.areTooMany()) {
            continue;
        }
        try {
            steps.take(line);
        } catch (const FrameError& bad) {
            problems.add(line.number, bad.what());
            wrong.insert(line.number);
        }
    }
    problems.throwAll();
    return std::move(steps).inOrder();
}

Scenario readScenarioFile(const std::string& file) {
    return {file, readScenario(cli::script::readFile(file), file)};
}

void checkScenario(const FrameRoot& tree, const std::vector<ScenarioStep>& steps,
                   std::string_view name) {
    cli::script::Errors problems(name);
    std::set<std::string> known;  // are there, or will be when a later step comes to them
    for (const ScenarioStep& step : steps) {
        const Operation& change = step.change;
        if (!change.check || known.contains(change.file) || mayCome(change.file)) {
            known.insert(change.file);
            continue;
        }
        try {
            change.check(tree);
            known.insert(change.file);
        } catch (const FrameError& bad) {
            problems.add(step.line, bad.what());
        }
    }
    problems.throwAll();
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
            throw cli::script::Error(scenario.file, step.line, bad.what());
        }
        done(step);
    }
}

}  // namespace pallframe::simulation
