#include "run.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "frame/paths.h"
#include "frame/programs.h"
#include "frame/registry.h"
#include "host.h"
#include "process.h"
#include "root.h"
#include "supervisor.h"
#include "syslog_file.h"

namespace pallframe {

namespace {

using frame::check;
using frame::Descriptor;
using frame::Registry;

constexpr std::chrono::seconds kTimeout{3};

void takeAway(const RunRequest& request) {
    if (!request.directory.empty() && !request.keep) {
        std::error_code ignored;
        std::filesystem::remove_all(request.directory, ignored);
    }
}

// Before the command, so that a scenario which makes no sense here is refused before anything was
// done. It ends with the frame when it has not come to its end before.
void startScenario(const RunRequest& request) {
    if (!request.scenario.steps.empty()) {
        checkScenario(frame::Tree("/"), request.scenario);
        startProcess([&] {
            play(frame::Tree("/"), request.scenario, 1, [](const frame::ScenarioStep&) {});
            return 0;
        });
    }
}

// While the host's processes are still to be seen: by its own number this one is 1.
void tellNumber() {
    ::setenv(kNumberVariable, std::filesystem::read_symlink("/proc/self").c_str(), 1);
}

// Process 1 of the frame.
int beFirst(const RunRequest& request, Supervisor& supervisor, const Descriptor& keeper) {
    dieWith(keeper, SIGKILL);
    tellNumber();
    leaveHostMounts();
    bringLoopbackUp();
    enterRoot({request.product, request.directory});
    std::optional<SyslogFile> log;
    if (request.syslog) {
        log.emplace("/dev/log", std::string(frame::paths::kMessages));
        supervisor.serve(log->descriptor(), [&log] { log->takeAll(); });
    }
    supervisor.setPatience(kTimeout);
    startScenario(request);
    const pid_t command =
        startSupervised(supervisor, [&] { return becomeCommand(request.command, supervisor); });
    const int status = supervisor.waitFor(command);
    if (log) {
        log->takeAll();
    }
    return status;
}

// Without an entry the frame is as good, except that nobody finds it.
void makeKnown(const Registry& registry, const frame::RunningFrame& frame) {
    try {
        registry.add(frame);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallframe: this frame will not be listed: %s\n", error.what());
    }
}

int beKeeper(const RunRequest& request, Supervisor& supervisor, const Descriptor& caller) {
    dieWith(caller, Supervisor::kParentDied);
    const Registry registry = Registry::ofUser();
    leaveHost();
    const Descriptor self = watchSelf();
    const pid_t first =
        startSupervised(supervisor, [&] { return beFirst(request, supervisor, self); });
    makeKnown(registry, {first, request.directory, frame::commandLine(request.command)});
    const int status = supervisor.waitFor(first);
    registry.remove(first);
    takeAway(request);
    return status;
}

}  // namespace

int runInFrame(const RunRequest& request) {
    if (!request.directory.empty()) {
        check(::mkdir(request.directory.c_str(), 0755),
              "cannot make a frame in " + request.directory);
    }
    searchAsInFrame();
    Supervisor supervisor;
    const Descriptor self = watchSelf();
    const pid_t keeper =
        startSupervised(supervisor, [&] { return beKeeper(request, supervisor, self); });
    const int status = supervisor.waitFor(keeper);
    takeAway(request);  // only when the keeper could not
    return status;
}

}  // namespace pallframe
