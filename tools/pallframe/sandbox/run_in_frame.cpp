#include "pallframe/sandbox/run_in_frame.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/sandbox/namespaces.h"
#include "pallframe/sandbox/rootfs.h"
#include "pallframe/sandbox/supervisor.h"
#include "pallframe/sandbox/syslog_file.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::sandbox {

namespace {

using simulation::check;
using simulation::Descriptor;

constexpr std::chrono::seconds kTimeout{3};

void removeDirectory(const RunRequest& request) {
    if (!request.directory.empty() && !request.keep) {
        std::error_code ignored;
        std::filesystem::remove_all(request.directory, ignored);
    }
}

// Checked before the command starts, so that an invalid scenario changes nothing. Ends with the
// frame at the latest.
void startScenario(const RunRequest& request) {
    if (!request.scenario.steps.empty()) {
        simulation::checkScenario(simulation::FrameRoot("/"), request.scenario);
        startProcess([&] {
            simulation::play(simulation::FrameRoot("/"), request.scenario, 1,
                             [](const simulation::ScenarioStep&) {});
            return 0;
        });
    }
}

// Has to run while the host's /proc is visible: inside, this process has number 1.
void setNumberVariable() {
    ::setenv(kNumberVariable, std::filesystem::read_symlink("/proc/self").c_str(), 1);
}

// Process 1 of the frame.
int runInit(const RunRequest& request, Supervisor& supervisor, const Descriptor& cleanup) {
    dieWith(cleanup, SIGKILL);
    setNumberVariable();
    unshareMounts();
    enableLoopback();
    enterRoot({request.product, request.directory});
    std::optional<SyslogFile> log;
    if (request.syslog) {
        log.emplace("/dev/log", std::string(simulation::paths::kMessages));
        supervisor.serve(log->descriptor(), [&log] { log->takeAll(); });
    }
    supervisor.setKillTimeout(kTimeout);
    startScenario(request);
    const pid_t command =
        startSupervised(supervisor, [&] { return becomeCommand(request.command, supervisor); });
    const int status = supervisor.waitFor(command);
    if (log) {
        log->takeAll();
    }
    return status;
}

// Without an entry the frame works, but is not listed.
void registerFrame(const Registry& registry, const RunningFrame& frame) {
    try {
        registry.add(frame);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallframe: this frame will not be listed: %s\n", error.what());
    }
}

int superviseFrame(const RunRequest& request, Supervisor& supervisor, const Descriptor& caller) {
    dieWith(caller, Supervisor::kParentDied);
    const Registry registry = Registry::ofUser();
    unshareNamespaces();
    const Descriptor self = watchSelf();
    const pid_t first =
        startSupervised(supervisor, [&] { return runInit(request, supervisor, self); });
    registerFrame(registry, {first, request.directory, simulation::commandLine(request.command)});
    const int status = supervisor.waitFor(first);
    registry.remove(first);
    removeDirectory(request);
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
    const pid_t cleanup =
        startSupervised(supervisor, [&] { return superviseFrame(request, supervisor, self); });
    const int status = supervisor.waitFor(cleanup);
    removeDirectory(request);  // if the cleanup process could not
    return status;
}

}  // namespace pallframe::sandbox
