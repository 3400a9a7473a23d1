#include "trouble_orders.h"

#include "model/files.h"

namespace pallbus {

namespace {

std::string shown(const Disturber& disturber) {
    std::string text;
    for (const std::string& line : disturber.show()) {
        text += line + "\n";
    }
    return text.empty() ? "calm\n" : text;
}

bool isCalm(const std::vector<Step>& plan) {
    return plan.size() == 1 && plan[0] == Step{{}, Calm{}};
}

}  // namespace

std::vector<std::vector<Step>> plansOf(const std::vector<std::string>& lines,
                                       const std::string& script) {
    std::vector<std::vector<Step>> plans;
    for (const std::string& line : lines) {
        plans.push_back(parseLine(line));
    }
    if (!script.empty()) {
        plans.push_back(parsePlan(readFile(script, true), script));
    }
    return plans;
}

Reply carryOut(const std::string& line, Disturber& disturber) try {
    if (line == "show") {
        return {true, shown(disturber)};
    }
    if (const std::vector<Step> plan = parseLine(line); isCalm(plan)) {
        disturber.stop();
    } else {
        disturber.play(plan);
    }
    return {true, ""};
} catch (const BadTrouble& problem) {
    return {false, problem.what()};
}

}  // namespace pallbus
