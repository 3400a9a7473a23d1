#include <filesystem>
#include <memory>

#include "pallframe/commands/commands.h"
#include "pallframe/sandbox/run_in_frame.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/product.h"

namespace pallframe {

namespace {

std::string checkProduct(const std::string& name) {
    return simulation::findProduct(name) != nullptr
               ? ""
               : "unknown product '" + name + "'; choose from " + simulation::productNames();
}

struct Arguments {
    std::string product = "Quorane";
    std::string directory;
    std::string scenario;
    sandbox::RunRequest request;
};

int run(Arguments& arguments) {
    sandbox::RunRequest& request = arguments.request;
    request.product = simulation::findProduct(arguments.product);
    if (!arguments.directory.empty()) {
        request.directory = std::filesystem::absolute(arguments.directory).lexically_normal();
    }
    if (request.keep && arguments.directory.empty()) {
        throw simulation::FrameError(
            "--keep needs --frame-dir DIR: a root in memory cannot be kept");
    }
    if (!arguments.scenario.empty()) {
        request.scenario = simulation::readScenarioFile(arguments.scenario);
    }
    return sandbox::runInFrame(request);
}

}  // namespace

void addRun(cli::Command program, size_t) {
    const auto arguments = std::make_shared<Arguments>();
    cli::Command command = program.addCommand("run", "Run a command in a new frame");
    command.add("--product", arguments->product, "One of " + simulation::productNames())
        .kind("PRODUCT")
        .check(checkProduct)
        .showsDefault();
    command.add("--frame-dir", arguments->directory, "Keep the frame's files in this new directory")
        .kind("DIR");
    command.addFlag("--keep", arguments->request.keep, "Do not remove the directory");
    command.addFlag("!--no-syslog", arguments->request.syslog, "Leave /dev/log to the command");
    command.add("--scenario", arguments->scenario, "Play this file from the start of the command")
        .kind("FILE");
    command.add("COMMAND", arguments->request.command, "The command, after --").required();
    command.work([arguments] { return run(*arguments); });
}

}  // namespace pallframe
