#include "trouble/plan.h"

#include "program/timed_script.h"

namespace pallbus {

std::vector<Step> parsePlan(std::string_view text, std::string_view name) {
    std::vector<Step> steps;
    for (const script::Line& line : script::parse(text, name)) {
        try {
            steps.push_back({line.at, parseOrder(line.words)});
        } catch (const BadTrouble& problem) {
            throw script::Error(name, line.number, problem.what());
        }
    }
    return steps;
}

}  // namespace pallbus
