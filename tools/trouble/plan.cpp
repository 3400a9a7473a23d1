#include "trouble/plan.h"

#include "program/script_problems.h"
#include "program/timed_script.h"

namespace pallbus {

std::vector<Step> parsePlan(std::string_view text, std::string_view name) {
    script::Problems problems(name);
    std::vector<Step> steps;
    for (const script::Line& line : script::parse(text, problems)) {
        try {
            steps.push_back({line.at, parseOrder(line.words)});
        } catch (const BadTrouble& problem) {
            problems.add(line.number, problem.what());
        }
    }
    problems.throwAll();
    return steps;
}

std::vector<Step> parseLine(std::string_view line) {
    if (line.find('\n') != std::string_view::npos) {
        throw BadTrouble("more than one line");
    }
    constexpr std::string_view kPlace = "line:1: ";
    try {
        std::vector<Step> plan = parsePlan(line, "line");
        if (plan.empty()) {
            throw BadTrouble("no trouble was named");
        }
        return plan;
    } catch (const script::Error& error) {
        throw BadTrouble(error.what() + kPlace.size());
    }
}

}  // namespace pallbus
