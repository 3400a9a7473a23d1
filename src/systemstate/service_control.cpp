#include "systemstate/service_control.h"

#include "systemstate/machine.h"
#include "systemstate/paths.h"
#include "util/log.h"

namespace systemstate {

namespace {

// A service of one command: what is run, and what is logged when it ran.
struct Command {
    const char* command;
    const char* done;
};

struct Action {
    Command brio;
    Command tessara;
    const char* failed;

    const Command& of(Edition edition) const { return edition == Edition::brio ? brio : tessara; }
};

struct Switch {
    Action enable;
    Action disable;
};

constexpr Switch kSsh = {
    {{kBrioStartSsh, "SSH server started in Brio"},
     {kTessaraStartSsh, "SSH server restarted in Tessara"},
     "Error starting SSH Server"},
    {{kBrioStopSsh, "SSH server stopped in Brio"},
     {kTessaraStopSsh, "SSH server stopped in Tessara"},
     "Error stopping SSH Server"},
};

constexpr Switch kFtp = {
    {{kBrioStartFtp, "FTP server started in Brio"},
     {kTessaraStartFtp, "FTP server restarted in Tessara"},
     "Error starting FTP Server"},
    {{kBrioStopFtp, "FTP server stopped in Brio"},
     {kTessaraStopFtp, "FTP server stopped in Tessara"},
     "Error stopping FTP Server"},
};

// A service of two commands. Only the result of the second one is looked at: the first runs in the
// background, or finds nothing to stop when the service does not run.
struct Pair {
    const char* announcement;
    const char* server;
    const char* watch;
};

struct PairAction {
    Pair brio;
    Pair tessara;
    const char* failed;

    const Pair& of(Edition edition) const { return edition == Edition::brio ? brio : tessara; }
};

constexpr PairAction kStartAmbrix = {
    {"enabling ambrix in Quorane Brio...", kBrioStartAmbrix, kBrioStartAmbrixWatch},
    {"enabling ambrix in Tessara...", kTessaraStartAmbrix, kTessaraStartAmbrixWatch},
    "Error starting Ambrix",
};

constexpr PairAction kStopAmbrix = {
    {"disabling ambrix in Quorane Brio...", kBrioStopAmbrix, kBrioStopAmbrixWatch},
    {"disabling ambrix in Tessara...", kTessaraStopAmbrix, kTessaraStopAmbrixWatch},
    "Error stopping Ambrix",
};

void logFailure(const char* text) {
    util::logMessage(LOG_ERR, "%s - %m", text);
}

void carryOut(Machine& machine, const Action& action, Edition edition) {
    const Command& command = action.of(edition);
    const int result = machine.run(command.command);
    util::logMessage(LOG_INFO, "%s, rv: %d\n", command.done, result);
    if (result != 0) {
        logFailure(action.failed);
    }
}

void carryOut(Machine& machine, const PairAction& action, Edition edition, TimeLimit limit) {
    const Pair& pair = action.of(edition);
    util::logMessage(LOG_DEBUG, "%s\n", pair.announcement);
    machine.run(pair.server, limit);
    if (machine.run(pair.watch, limit) != 0) {
        logFailure(action.failed);
    }
}

}  // namespace

bool isServiceEnabled(const Machine& machine, const char* disabledMarker) {
    return !machine.exists(disabledMarker);
}

ServiceControl::ServiceControl(Machine& machine, Edition edition)
    : machine_(machine), edition_(edition) {}

void ServiceControl::setSshRunning(bool running) {
    carryOut(machine_, running ? kSsh.enable : kSsh.disable, edition_);
}

void ServiceControl::setFtpRunning(bool running) {
    carryOut(machine_, running ? kFtp.enable : kFtp.disable, edition_);
}

void ServiceControl::setAmbrixRunning(bool running) {
    carryOut(machine_, kStopAmbrix, edition_, TimeLimit::none);
    if (running) {
        ambrixStarted_ = true;
        carryOut(machine_, kStartAmbrix, edition_, TimeLimit::none);
    }
}

// The flag is lowered first: a concurrent set that starts Ambrix raises it again, and the next poll
// stops Ambrix once more.
bool ServiceControl::stopDisabledAmbrix() {
    if (!ambrixStarted_ || isServiceEnabled(machine_, kAmbrixDisabledMarker)) {
        return false;
    }
    ambrixStarted_ = false;
    stopAmbrixInTime();
    return true;
}

void ServiceControl::stopAmbrixInTime() {
    carryOut(machine_, kStopAmbrix, edition_, TimeLimit::fiveSeconds);
}

}  // namespace systemstate
