// The process: parse, detach, open the log, build the device and the service, run, take down.

#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "model/log.h"
#include "model/trace.h"
#include "service/device_name.h"
#include "service/options.h"
#include "service/pallwatch_service.h"
#include "service/paths.h"
#include "systemstate/machine.h"
#include "systemstate/system_state.h"

namespace {

// A reader of our output that goes away must not take the daemon with it. A handler rather than
// SIG_IGN: it goes back to the default in the commands we run.
void surviveBrokenPipes() {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}

void runService(const Options& options) {
    Machine machine;
    SystemState systemState(machine.path(kStateContainer), machine);
    systemState.load();
    systemState.buildIdentityGroup(systemState.isTessaraFrame() ? synchroniseDeviceName(machine)
                                                                : std::string());
    systemState.buildCatalogue();

    pallwatch::PallwatchService service(&systemState, machine, options.prefix);
    if (options.brio) {
        service.clearHardwareScans();
    }
    service.run();
}

}  // namespace

int main(int argc, char* argv[]) {
    const ParsedOptions parsed = parseOptions(argc, argv, stderr, ::daemon);
    if (parsed.exitStatus) {
        return *parsed.exitStatus;
    }
    openLog("Pallwatch", LOG_LOCAL2);
    surviveBrokenPipes();
    try {
        runService(parsed.options);
    } catch (const std::exception& error) {
        traceError("%s", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
