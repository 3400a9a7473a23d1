#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "enter.h"
#include "frame/devices.h"
#include "frame/product.h"
#include "frame/registry.h"
#include "inspection/frames.h"
#include "program/standard_output.h"
#include "run.h"
#include "verbs.h"

namespace pallframe {

namespace {

using frame::BadRequest;
using frame::Registry;

std::string checkProduct(const std::string& name) {
    return frame::findProduct(name) != nullptr
               ? ""
               : "no product '" + name + "': choose from " + frame::productNames();
}

struct RunWords {
    std::string product = "Quorane";
    std::string tree;
    std::string scenario;
    RunRequest request;
};

int run(RunWords& words) {
    words.request.product = frame::findProduct(words.product);
    if (!words.tree.empty()) {
        words.request.directory = std::filesystem::absolute(words.tree).lexically_normal();
    }
    if (words.request.keep && words.tree.empty()) {
        throw BadRequest("--keep needs --tree DIR: a root in memory cannot be kept");
    }
    if (!words.scenario.empty()) {
        words.request.scenario = readScenarioFile(words.scenario);
    }
    return runInFrame(words.request);
}

struct EnterWords {
    std::string frame;
    std::string tree;
    std::vector<std::string> command;
};

// Words are handed out from the left, so that the command's first one may stand in the place of the
// frame's name; how many stand behind "--" tells.
int enter(EnterWords words, size_t commandWords) {
    if (!words.frame.empty() && words.command.size() < commandWords) {
        words.command.insert(words.command.begin(), std::exchange(words.frame, ""));
    }
    if (words.command.size() != commandWords) {
        throw BadRequest("the command for the frame stands behind --, such as: enter -- ls /");
    }
    if (!words.frame.empty() && !words.tree.empty()) {
        throw BadRequest("a frame is named by its number or by --tree, not by both");
    }
    const auto running = Registry::ofUser().running();
    return enterFrame(
        words.tree.empty() ? chooseFrame(running, words.frame) : frameIn(running, words.tree),
        words.command);
}

}  // namespace

void addRun(Verb program, Call& call) {
    const auto words = std::make_shared<RunWords>();
    Verb verb = program.addVerb("run", "Run a command in a frame of its own");
    verb.add("--product", words->product, "One of " + frame::productNames())
        .kind("PRODUCT")
        .check(checkProduct)
        .showsDefault();
    verb.add("--tree", words->tree, "Keep the frame's files in this new directory").kind("DIR");
    verb.addFlag("--keep", words->request.keep, "Leave the directory behind");
    verb.addFlag("!--no-syslog", words->request.syslog, "Leave /dev/log to the command");
    verb.add("--scenario", words->scenario, "Play this file from the command's start on")
        .kind("FILE");
    verb.add("COMMAND", words->request.command, "The command, after --").required();
    verb.action([words, &call] { call.status = run(*words); });
}

void addEnter(Verb program, Call& call) {
    const auto words = std::make_shared<EnterWords>();
    Verb verb = program.addVerb("enter", "Run a shell or a command in a running frame");
    verb.add("FRAME", words->frame, "As list shows it, unless only one runs");
    verb.add("COMMAND", words->command, "After --; a shell when there is none");
    verb.add("--tree", words->tree, "The frame that has its files in this directory").kind("DIR");
    verb.action([words, &call] { call.status = enter(*words, call.commandWords); });
}

void addList(Verb program, Call&) {
    const auto json = std::make_shared<bool>(false);
    Verb verb = program.addVerb("list", "The frames that run");
    verb.addFlag("--json", *json, "One JSON object a line instead of a table");
    verb.action([json] {
        const auto running = Registry::ofUser().running();
        print(*json ? inspection::jsonOf(running) : inspection::tableOf(running));
    });
}

}  // namespace pallframe
