#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "frame/devices.h"
#include "frame/paths.h"
#include "frame/programs.h"
#include "frame/status.h"
#include "program/command_line.h"
#include "run.h"

namespace {

using namespace frame;
using pallframe::RunRequest;

// The tree that `set` and `status` speak of: a named one, or the frame that this program runs in.
Tree chosenTree(const std::string& directory) {
    Tree tree(directory.empty() ? "/" : directory);
    if (findProduct(tree.read(paths::kProduct)) == nullptr) {
        throw BadRequest(directory.empty() ? "not inside a frame: name one with --tree DIR"
                                           : directory + " is no simulated frame");
    }
    return tree;
}

std::string checkProduct(std::string& name) {
    const Product* product = findProduct(name);
    if (product == nullptr) {
        return "no product '" + name + "': choose from " + productNames();
    }
    name = product->name;
    return "";
}

struct Words {
    std::string product = "Quorane";
    std::string tree;
    std::string name;
    std::string state;
    double number = 0;
    RunRequest run;
};

int run(Words& words) {
    words.run.product = findProduct(words.product);
    if (!words.tree.empty()) {
        words.run.directory = std::filesystem::absolute(words.tree).lexically_normal();
    }
    if (words.run.keep && words.tree.empty()) {
        throw BadRequest("--keep needs --tree DIR: a root in memory cannot be kept");
    }
    return pallframe::runInFrame(words.run);
}

void addRun(CLI::App& app, Words& words, int& status) {
    CLI::App* verb = app.add_subcommand("run", "Run a command in a frame of its own");
    verb->add_option("--product", words.product, "One of " + productNames())
        ->check(CLI::Validator(checkProduct, "NAME"))
        ->capture_default_str();
    verb->add_option("--tree", words.tree, "Keep the frame's files in this new directory");
    verb->add_flag("--keep", words.run.keep, "Leave the directory behind");
    verb->add_flag("!--no-syslog", words.run.syslog, "Leave /dev/log to the command");
    verb->add_option("command", words.run.command, "The command, after --")->required();
    verb->callback([&] { status = run(words); });
}

CLI::App* addChange(CLI::App& set, const char* name, const char* what) {
    CLI::App* verb = set.add_subcommand(name, what);
    verb->fallthrough();  // --tree may also stand last
    return verb;
}

void addCable(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "cable", "Pull a port's cable or plug it in");
    verb->add_option("interface", words.name, "eth0 or eth1")->required();
    verb->add_option("state", words.state)->required()->check(CLI::IsMember({"down", "up"}));
    verb->callback([&] { setCable(chosenTree(words.tree), words.name, words.state == "up"); });
}

void addSupply(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "psu", "What a power supply delivers");
    verb->add_option("number", words.name)->required()->check(CLI::IsMember({"1", "2"}));
    verb->add_option("volts", words.number)->required()->check(CLI::Range(0.0, 29.0));
    verb->callback([&] { setSupply(chosenTree(words.tree), std::stoi(words.name), words.number); });
}

void addBattery(CLI::App& set, Words& words) {
    CLI::App* verb =
        addChange(set, "battery", "The battery's voltage under load, 0 to take it out");
    verb->add_option("volts", words.number)->required()->check(CLI::Range(0.0, 5.0));
    verb->callback([&] { setBattery(chosenTree(words.tree), words.number); });
}

void addFile(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "file", "Take a file of the frame away or put it back");
    verb->add_option("path", words.name, "Its path in the frame")->required();
    verb->add_option("state", words.state)
        ->required()
        ->check(CLI::IsMember({"missing", "present"}));
    verb->callback([&] {
        const Tree tree = chosenTree(words.tree);
        words.state == "missing" ? tree.hide(words.name) : tree.show(words.name);
    });
}

void addPause(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "pause", "How long each call of a program of the frame takes");
    verb->add_option("program", words.name, "Such as S40network")->required();
    verb->add_option("seconds", words.number)->required()->check(CLI::Range(0.0, 3600.0));
    verb->callback([&] { setPause(chosenTree(words.tree), words.name, words.number); });
}

void addSet(CLI::App& app, Words& words) {
    CLI::App* set = app.add_subcommand("set", "Change the frame while it runs");
    set->require_subcommand(1);
    set->add_option("--tree", words.tree, "The frame's directory, unless inside the frame");
    for (const auto add : {addCable, addSupply, addBattery, addFile, addPause}) {
        add(*set, words);
    }
}

void addStatus(CLI::App& app, Words& words) {
    CLI::App* verb = app.add_subcommand("status", "Ports, voltages, services, what was called");
    verb->add_option("--tree", words.tree, "The frame's directory, unless inside the frame");
    verb->callback([&] { std::fputs(describe(chosenTree(words.tree)).c_str(), stdout); });
}

int runVerbs(int argc, char** argv) {
    int status = 0;
    Words words;
    CLI::App app("Makes a simulated router frame and runs a command inside it.", "pallframe");
    app.require_subcommand(1);
    addRun(app, words, status);
    addSet(app, words);
    addStatus(app, words);
    finishCommandLine(app);
    return readCommandLine(app, argc, argv).value_or(status);
}

}  // namespace

int main(int argc, char** argv) {
    try {
        const std::vector<std::string> words(argv, argv + argc);
        if (!words.empty() && isProgram(words[0])) {
            return runProgram(Tree("/"), words);
        }
        return runVerbs(argc, argv);
    } catch (const BadRequest& error) {
        std::fprintf(stderr, "pallframe: %s\n", error.what());
        return kBadUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallframe: %s\n", error.what());
        return pallframe::kNoFrame;
    }
}
