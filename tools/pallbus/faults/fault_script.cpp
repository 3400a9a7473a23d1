#include "pallbus/faults/fault_script.h"

#include "cli/script_errors.h"
#include "cli/timed_script.h"

namespace pallbus::faults {

std::vector<FaultStep> parseFaultScript(std::string_view text, std::string_view name) {
    cli::script::Errors problems(name);
    std::vector<FaultStep> steps;
    for (const cli::script::Line& line : cli::script::parse(text, problems)) {
        try {
            steps.push_back({line.at, parseFault(line.words)});
        } catch (const FaultSyntaxError& error) {
            problems.add(line.number, error.what());
        }
    }
    problems.throwAll();
    return steps;
}

std::vector<FaultStep> parseFaultLine(std::string_view line) {
    if (line.find('\n') != std::string_view::npos) {
        throw FaultSyntaxError("more than one line");
    }
    constexpr std::string_view kPlace = "line:1: ";
    try {
        std::vector<FaultStep> steps = parseFaultScript(line, "line");
        if (steps.empty()) {
            throw FaultSyntaxError("missing fault");
        }
        return steps;
    } catch (const cli::script::Error& error) {
        throw FaultSyntaxError(error.what() + kPlace.size());
    }
}

}  // namespace pallbus::faults
