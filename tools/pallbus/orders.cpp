#include "orders.h"

#include "model/files.h"
#include "program/timed_script.h"

namespace pallbus {

namespace {

// The line before a script.
constexpr std::string_view kScript = "script\n";

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

std::string scriptOrder(const std::string& script) {
    return std::string(kScript) + script;
}

Reply carryOut(const std::string& order, Disturber& disturber) try {
    if (order == "show") {
        return {true, shown(disturber)};
    }
    if (order.starts_with(kScript)) {
        disturber.play(parsePlan(order.substr(kScript.size()), "script"));
    } else if (const std::vector<Step> plan = parseLine(order); isCalm(plan)) {
        disturber.stop();
    } else {
        disturber.play(plan);
    }
    return {true, ""};
} catch (const std::runtime_error& problem) {  // BadTrouble, script::Error
    return {false, problem.what()};
}

}  // namespace pallbus
