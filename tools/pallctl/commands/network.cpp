// A change of the network may cut off the user who makes it. On a terminal, and elsewhere with
// --confirm-within, a detached process makes the change and rolls it back unless this process
// passes on a confirmation in time; so nothing that happens to this process or its terminal
// prevents the rollback.

#include <syslog.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>

#include "cli/signal_fd.h"
#include "cli/standard_output.h"
#include "cli/timed_script.h"
#include "pallctl/commands/commands.h"
#include "pallctl/network/commit_confirmed.h"

namespace pallctl {

namespace {

constexpr const char* kSubject = "network";
constexpr const char* kNotes =
    "Needs at least one of the three settings. Sends those that differ from the\n"
    "current ones, the address last: the daemon restarts the network for each.\n"
    "Settings that would make the frame unreachable are not sent.\n"
    "On a terminal asks whether to keep the settings. Unless the answer is \"yes\" in\n"
    "time, the previous ones are restored: also when the input ends, on Ctrl-C, and\n"
    "when terminal, pallctl or bus go away. Elsewhere only --confirm-within asks.\n"
    "Exits with 0, 7 restored, 8 not restored; all others: nothing has changed.";

constexpr std::chrono::seconds kUsualConfirmTime{90};

struct NetworkRequest {
    systemstate::NetworkSettings wish;  // 0: unchanged
    bool force = false;                 // also settings that could hardly be reached
    std::optional<std::chrono::milliseconds> confirmWithin;
};

// Reports why the settings cannot be changed; kSuccess when they can.
ExitStatus checkChange(const systemstate::NetworkSettings& before,
                       const systemstate::NetworkSettings& wanted, bool force) {
    if (!systemstate::areValid(before)) {
        client::complain(kSubject, "the current settings are incomplete (" + formatOptions(before) +
                                       "); the daemon cannot change them");
        return kRefused;
    }
    const std::string problem = findReachabilityProblem(wanted);
    if (!force && !problem.empty()) {
        client::complain(problem, "not sent without --force");
        return kUsage;
    }
    return kSuccess;
}

void printDifferences(const systemstate::NetworkSettings& before,
                      const systemstate::NetworkSettings& wanted) {
    for (const NetworkMember* member : findDifferences(before, wanted)) {
        std::printf("%s: %s -> %s\n", member->leaf,
                    systemstate::dottedText(before.*member->value).c_str(),
                    systemstate::dottedText(wanted.*member->value).c_str());
    }
    if (before == wanted) {
        std::puts("nothing to change");
    }
    cli::flushOutput();
}

ExitStatus changeNow(const client::ConnectionOptions& connection,
                     const systemstate::NetworkSettings& before,
                     const systemstate::NetworkSettings& wanted) {
    NetworkChange change(connection, before, wanted,
                         [](const std::string& line) { client::complain(kSubject, line); });
    const ExitStatus status = change.apply([] { return true; });
    return status != kSuccess && change.isBegun() ? change.rollBack() : status;
}

// Runs in the detached process. The log keeps the reports, which the user may no longer see.
ExitStatus runDetached(int line, const client::ConnectionOptions& connection,
                       const systemstate::NetworkSettings& before,
                       const systemstate::NetworkSettings& wanted,
                       std::chrono::milliseconds timeout) {
    ::openlog("pallctl", LOG_PID, LOG_USER);
    NetworkChange change(connection, before, wanted, [line](const std::string& text) {
        ::syslog(LOG_NOTICE, "network: %s", text.c_str());
        sendReport(line, text);
    });
    return commitConfirmed(line, change, timeout);
}

ExitStatus changeConfirmed(const client::ConnectionOptions& connection,
                           const systemstate::NetworkSettings& before,
                           const systemstate::NetworkSettings& wanted,
                           std::chrono::milliseconds timeout) {
    cli::SignalFD signals(cli::kTerminationSignals);
    DetachedProcess process(
        [&](int line) { return runDetached(line, connection, before, wanted, timeout); });
    return askToConfirm(process, signals, timeout);
}

ExitStatus changeNetwork(const client::ConnectionOptions& connection,
                         const NetworkRequest& request) {
    systemstate::NetworkSettings before;
    {
        client::Client client(connection, client::Subscription::answers);
        if (const ExitStatus status = readNetwork(client, before); status != kSuccess) {
            return status;
        }
    }
    const systemstate::NetworkSettings wanted = merge(before, request.wish);
    const ExitStatus status = checkChange(before, wanted, request.force);
    if (status != kSuccess) {
        return status;
    }
    printDifferences(before, wanted);
    if (before == wanted) {
        return kSuccess;
    }
    return request.confirmWithin
               ? changeConfirmed(connection, before, wanted, *request.confirmWithin)
               : changeNow(connection, before, wanted);
}

struct Arguments {
    std::array<std::string, kNetworkMembers.size()> settings;
    std::string confirmWithin;
    bool confirm = true;
    bool force = false;
};

std::string checkAddress(const std::string& text) {
    if (text == "0.0.0.0") {
        return "0.0.0.0 cannot be set: for the daemon it means no address";
    }
    return parseAddress(text) ? "" : "invalid address '" + text + "'; use a form such as 10.1.2.3";
}

std::string checkTime(const std::string& text) {
    const auto time = cli::script::parseDuration(text);
    return time && time->count() > 0
               ? ""
               : "invalid duration '" + text + "'; use 500ms, 90s, 2m or 1h, up to 24 hours";
}

// Whether the user sees the question and can answer it.
bool canAsk() {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

// Empty: the change is final.
std::optional<std::chrono::milliseconds> selectConfirmTime(const Arguments& arguments) {
    if (arguments.confirmWithin.empty() && arguments.confirm && canAsk()) {
        return kUsualConfirmTime;
    }
    return cli::script::parseDuration(arguments.confirmWithin);
}

NetworkRequest makeRequest(const Arguments& arguments) {
    NetworkRequest request;
    for (size_t member = 0; member < kNetworkMembers.size(); ++member) {
        request.wish.*kNetworkMembers[member].value =
            parseAddress(arguments.settings[member]).value_or(0);
    }
    if (request.wish == systemstate::NetworkSettings()) {
        throw cli::UsageError("needs --address, --netmask or --gateway");
    }
    request.confirmWithin = selectConfirmTime(arguments);
    request.force = arguments.force;
    return request;
}

}  // namespace

void addNetwork(cli::Command program, const Options& options) {
    cli::Command command = program.addCommand("network", "Change the network settings");
    const auto arguments = std::make_shared<Arguments>();
    for (size_t member = 0; member < kNetworkMembers.size(); ++member) {
        command
            .add(kNetworkMembers[member].option, arguments->settings[member],
                 kNetworkMembers[member].meaning)
            .kind("A.B.C.D")
            .check(checkAddress);
    }
    command
        .add("--confirm-within", arguments->confirmWithin,
             "Roll back unless confirmed in time: 90s on a terminal")
        .kind("TIME")
        .check(checkTime);
    command.addFlag("!--no-confirm", arguments->confirm, "Do not ask on a terminal")
        .excludes("--confirm-within");
    command.addFlag("--force", arguments->force, "Send also settings that would be unreachable");
    command.notes(kNotes);
    command.work([&options, arguments] {
        const NetworkRequest request = makeRequest(*arguments);
        requirePlainFormat(options);
        return changeNetwork(options.connection(), request);
    });
}

}  // namespace pallctl
