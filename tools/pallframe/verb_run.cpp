#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "cli/standard_output.h"
#include "enter.h"
#include "frame/devices.h"
#include "frame/product.h"
#include "frame/registry.h"
#include "inspection/frames.h"
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

void addRun(cli::Command program, const Call&) {
    const auto words = std::make_shared<RunWords>();
    cli::Command command = program.addCommand("run", "Run a command in a frame of its own");
    command.add("--product", words->product, "One of " + frame::productNames())
        .kind("PRODUCT")
        .check(checkProduct)
        .showsDefault();
    command.add("--tree", words->tree, "Keep the frame's files in this new directory").kind("DIR");
    command.addFlag("--keep", words->request.keep, "Leave the directory behind");
    command.addFlag("!--no-syslog", words->request.syslog, "Leave /dev/log to the command");
    command.add("--scenario", words->scenario, "Play this file from the command's start on")
        .kind("FILE");
    command.add("COMMAND", words->request.command, "The command, after --").required();
    command.work([words] { return run(*words); });
}

void addEnter(cli::Command program, const Call& call) {
    const auto words = std::make_shared<EnterWords>();
    cli::Command command =
        program.addCommand("enter", "Run a shell or a command in a running frame");
    command.add("FRAME", words->frame, "As list shows it, unless only one runs");
    command.add("COMMAND", words->command, "After --; a shell when there is none");
    command.add("--tree", words->tree, "The frame that has its files in this directory")
        .kind("DIR");
    command.work([words, &call] { return enter(*words, call.commandWords); });
}

void addList(cli::Command program, const Call&) {
    const auto json = std::make_shared<bool>(false);
    cli::Command command = program.addCommand("list", "The frames that run");
    command.addFlag("--json", *json, "One JSON object a line instead of a table");
    command.work([json] {
        const auto running = Registry::ofUser().running();
        cli::print(*json ? inspection::jsonOf(running) : inspection::tableOf(running));
        return 0;
    });
}

}  // namespace pallframe
