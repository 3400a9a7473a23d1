#include "client/network.h"

#include <syslog.h>

#include <cstdio>

#include "client/confirmation.h"
#include "client/guardian.h"
#include "client/network_change.h"
#include "client/network_guard.h"
#include "program/standard_output.h"

namespace pallctl {

namespace {

constexpr const char* kSubject = "network";

// What speaks against the change, and the status for it; kSuccess when nothing does.
ExitStatus examine(const NetworkSettings& before, const NetworkSettings& wanted, bool force) {
    if (!areValid(before)) {
        complain(kSubject, "the settings in force are incomplete (" + optionsFor(before) +
                               "); the daemon applies no others to them");
        return kRefused;
    }
    const std::string objection = objectionTo(wanted);
    if (!force && !objection.empty()) {
        complain(objection, "not sent without --force");
        return kUsage;
    }
    return kSuccess;
}

void print(const NetworkSettings& before, const NetworkSettings& wanted) {
    for (const NetworkMember* member : differences(before, wanted)) {
        std::printf("%s: %s -> %s\n", member->leaf, dottedText(before.*member->value).c_str(),
                    dottedText(wanted.*member->value).c_str());
    }
    if (before == wanted) {
        std::puts("nothing to change");
    }
    flushOutput();
}

ExitStatus changeAtOnce(const Reach& reach, const NetworkSettings& before,
                        const NetworkSettings& wanted) {
    NetworkChange change(reach, before, wanted,
                         [](const std::string& line) { complain(kSubject, line); });
    const ExitStatus status = change.carryOut([] { return true; });
    return status != kSuccess && change.isBegun() ? change.takeBack() : status;
}

// The log keeps what nobody may be there to see.
ExitStatus live(int line, const Reach& reach, const NetworkSettings& before,
                const NetworkSettings& wanted, std::chrono::milliseconds patience) {
    ::openlog("pallctl", LOG_PID, LOG_USER);
    NetworkChange change(reach, before, wanted, [line](const std::string& text) {
        ::syslog(LOG_NOTICE, "network: %s", text.c_str());
        sendText(line, sign::kTell + text);
    });
    return guardNetwork(line, change, patience);
}

ExitStatus changeWithConfirmation(const Reach& reach, const NetworkSettings& before,
                                  const NetworkSettings& wanted,
                                  std::chrono::milliseconds patience) {
    EndingSignals signals;
    Guardian guardian([&](int line) { return live(line, reach, before, wanted, patience); });
    return Confirmation(guardian, signals, patience).run();
}

}  // namespace

ExitStatus changeNetwork(const Reach& reach, const NetworkRequest& request) {
    NetworkSettings before;
    {
        Client client(reach, Interest::answers);
        if (const ExitStatus status = readNetwork(client, before); status != kSuccess) {
            return status;
        }
    }
    const NetworkSettings wanted = merged(before, request.wish);
    const ExitStatus status = examine(before, wanted, request.force);
    if (status != kSuccess) {
        return status;
    }
    print(before, wanted);
    if (before == wanted) {
        return kSuccess;
    }
    return request.confirmWithin
               ? changeWithConfirmation(reach, before, wanted, *request.confirmWithin)
               : changeAtOnce(reach, before, wanted);
}

}  // namespace pallctl
