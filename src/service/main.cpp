// The process: parse, detach, open the log, build the device and the service, run, take down.

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <utility>

#include "service/device_name.h"
#include "service/options.h"
#include "service/pallwatch_service.h"
#include "service/service_manager.h"
#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "systemstate/system_state.h"
#include "util/log.h"
#include "util/memory.h"
#include "util/trace.h"

namespace {

// The parent process may have closed them. The next descriptors, those of the bus and of the log,
// would get their numbers, and traces and the output of commands would go there.
void openStandardStreams() {
    int descriptor = -1;
    do {
        descriptor = open("/dev/null", O_RDWR);
    } while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO);
    if (descriptor >= 0) {
        close(descriptor);
    }
}

// The parent process may have blocked or ignored signals, which the daemon inherits: it would get
// no stop signal, and never see the end of a command.
void takeSignalsAsUsual() {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGCHLD, SIG_DFL);
}

// A handler rather than SIG_IGN: it goes back to the default in the commands we run.
void survive(int signal) {
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

// A reader of our output that goes away, and a file that has become as large as it may, must not
// take the daemon with them: the write fails and says so. Nor must a terminal that is not ours any
// more.
void surviveSignals(bool detached) {
    survive(SIGPIPE);
    survive(SIGXFSZ);
    if (detached) {
        survive(SIGHUP);
    }
}

// A service script that never ends must not keep the card from the bus. The first start of a server
// that makes its keys takes a minute.
constexpr std::chrono::minutes kStartLimit{2};

void runService(const pallwatch::Options& options, pallwatch::ServiceManager manager) {
    systemstate::Machine machine;
    machine.limitRuns(kStartLimit);
    SystemState systemState(machine.path(systemstate::kStateContainer), machine);
    systemState.load();
    systemState.buildIdentityGroup(
        systemState.isTessaraFrame() ? pallwatch::synchroniseDeviceName(machine) : std::string());
    systemState.buildCatalogue();
    machine.limitRuns(std::nullopt);
    util::returnFreeMemory();

    pallwatch::PallwatchService service(&systemState, machine, options.prefix, std::move(manager));
    if (options.brio) {
        service.clearHardwareScans();
    }
    service.run();
}

}  // namespace

int main(int argc, char* argv[]) {
    openStandardStreams();
    takeSignalsAsUsual();
    auto manager = pallwatch::ServiceManager::fromEnvironment();
    const pallwatch::ParsedOptions parsed = pallwatch::parseOptions(argc, argv, stderr, ::daemon);
    if (parsed.exitStatus) {
        return *parsed.exitStatus;
    }
    util::keepMemorySmall();
    util::openLog("Pallwatch", LOG_LOCAL2);
    surviveSignals(parsed.options.detached);
    int status = EXIT_SUCCESS;
    try {
        runService(parsed.options, std::move(manager));
    } catch (const std::exception& error) {
        util::traceError("%s", error.what());
        status = EXIT_FAILURE;
    }
    util::flushLog();
    return status;
}
