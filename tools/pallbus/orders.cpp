#include "orders.h"

#include <array>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "model/files.h"
#include "program/command_line.h"
#include "program/timed_script.h"

namespace pallbus {

namespace {

// What stands before a script, and before the name of a file.
constexpr std::string_view kScript = "script\n";
constexpr std::string_view kRecord = "record\n";

std::string shown(const Disturber& disturber, const Recorder& recorder) {
    std::string text;
    for (const std::string& line : disturber.show()) {
        text += line + "\n";
    }
    text = text.empty() ? "calm\n" : text;
    return recorder.isRecording() ? text + "# recording to " + recorder.path() + "\n" : text;
}

bool isCalm(const std::vector<Step>& plan) {
    return plan.size() == 1 && plan[0] == Step{{}, Calm{}};
}

void makeTrouble(const std::string& order, Disturber& disturber) {
    if (order.starts_with(kScript)) {
        disturber.play(parsePlan(order.substr(kScript.size()), "script"));
    } else if (const std::vector<Step> plan = parseLine(order); isCalm(plan)) {
        disturber.stop();
    } else {
        disturber.play(plan);
    }
}

Reply beginRecording(Instruction instruction, Recorder& recorder) {
    if (recorder.isRecording()) {
        return {false, "recording to " + recorder.path() + " already"};
    }
    if (!instruction.file) {
        return {false, "no file to record to came with it"};
    }
    const std::string path = onOneLine(instruction.text.substr(kRecord.size()));
    recorder.begin(
        std::make_unique<recording::Writer>(std::move(instruction.file), path, "pallbus"), path);
    return {true, ""};
}

void endRecording(Recorder& recorder, const ControlSocket::Answer& answer) {
    if (!recorder.isRecording()) {
        answer({false, "nothing is being recorded"});
        return;
    }
    recorder.end([answer](const std::optional<std::string>& failure) {
        answer({!failure, failure.value_or("")});
    });
}

}  // namespace

std::string readScript(const std::string& path) {
    const UniqueFile file = openFile(path, "r");
    if (!file) {
        throw std::runtime_error("error while opening file: " + path);
    }
    std::string text;
    std::array<char, 4096> chunk;
    while (const size_t count = std::fread(chunk.data(), 1, chunk.size(), file.get())) {
        text.append(chunk.data(), count);
    }
    if (std::ferror(file.get()) != 0) {
        throw std::runtime_error("error while reading file: " + path);
    }
    return text.empty() || text.back() == '\n' ? text : text + '\n';
}

std::vector<std::vector<Step>> plansOf(const std::vector<std::string>& lines,
                                       const std::string& script) {
    std::vector<std::vector<Step>> plans;
    plans.reserve(lines.size() + 1);
    for (const std::string& line : lines) {
        plans.push_back(parseLine(line));
    }
    if (!script.empty()) {
        plans.push_back(parsePlan(readScript(script), script));
    }
    return plans;
}

std::string scriptOrder(const std::string& script) {
    return std::string(kScript) + script;
}

std::string recordOrder(const std::string& path) {
    return std::string(kRecord) + path;
}

void carryOut(Instruction instruction, Disturber& disturber, Recorder& recorder,
              const ControlSocket::Answer& answer) try {
    const std::string& order = instruction.text;
    if (order == kEndRecording) {
        endRecording(recorder, answer);
    } else if (order.starts_with(kRecord)) {
        answer(beginRecording(std::move(instruction), recorder));
    } else if (order == "show") {
        answer({true, shown(disturber, recorder)});
    } else {
        makeTrouble(order, disturber);
        answer({true, ""});
    }
} catch (const std::runtime_error& problem) {  // BadTrouble, script::Error
    answer({false, problem.what()});
}

}  // namespace pallbus
