// Sets of the command parameters, of the serial ports, and of what is only announced.

#include "on_product.h"
#include "reaction.h"

namespace {

using harness::Frame;

constexpr const char* kRestart = "/vantor/bin/restartNetworking.sh";
constexpr const char* kReport = "/vantor/bin/briskel";

std::vector<Reaction> restarts() {
    return {
        {.name = "RestartNetworkCancelled",
         .on = onAny,
         .key = "restartNetwork",
         .value = "0",
         .output = "system.restartNetwork changed, value:0\n",
         .saved = true},
        {.name = "RestartNetwork",
         .on = onAny,
         .key = "restartNetwork",
         .value = "1",
         .left = "0",
         .commands = {kRestart},
         .output = "system.restartNetwork changed, value:1\n",
         .saved = true},
        {.name = "RestartNetworkFails",
         .on = onKELI,
         .prepare = [](const Frame& frame) { makeFail(frame, kRestart); },
         .key = "restartNetwork",
         .value = "2",
         .left = "0",
         .log = {error("Error restarting networking - Success")},
         .commands = {kRestart},
         .output = "system.restartNetwork changed, value:2\n",
         .saved = true},
        {.name = "RestartNetworkWithoutItsScript",
         .on = onBrio,
         .prepare = [](const Frame& frame) { frame.remove(kRestart); },
         .key = "restartNetwork",
         .value = "1",
         .left = "0",
         .log = {error("Error restarting networking - Success")},
         .output = "system.restartNetwork changed, value:1\n",
         .saved = true},
    };
}

// Its way back to 0 is a change like any other.
std::vector<Reaction> reports() {
    const std::string traces =
        "system.generateReport changed, value:1\nsystem.generateReport changed, value:0\n";
    return {
        {.name = "ReportCancelled",
         .on = onAny,
         .key = "generateReport",
         .value = "0",
         .output = "system.generateReport changed, value:0\n",
         .saved = true},
        {.name = "Report",
         .on = onAny,
         .key = "generateReport",
         .value = "1",
         .left = "0",
         .bus = {announced(R"({"generateReport":0})")},
         .log = logOfChange("generateReport", "0"),
         .commands = {"/vantor/bin/briskel easy"},
         .output = traces,
         .saved = true},
        {.name = "ReportFails",
         .on = onBrio,
         .prepare = [](const Frame& frame) { makeFail(frame, kReport); },
         .key = "generateReport",
         .value = "1",
         .left = "0",
         .bus = {announced(R"({"generateReport":0})")},
         .log = joined({error("Error calling generateReport - Success")},
                       logOfChange("generateReport", "0")),
         .commands = {"/vantor/bin/briskel easy"},
         .output = traces,
         .saved = true},
        {.name = "ReportIsKilled",
         .on = onKELI,
         .prepare =
             [](const Frame& frame) { frame.writeProgram(kReport, "#!/bin/sh\nkill -KILL $$\n"); },
         .key = "generateReport",
         .value = "1",
         .left = "0",
         .bus = {announced(R"({"generateReport":0})")},
         .log = joined({error("Error calling generateReport - Success")},
                       logOfChange("generateReport", "0")),
         .output = traces,
         .saved = true},
    };
}

}  // namespace

std::vector<Reaction> commandReactions() {
    return joined(restarts(), reports());
}

std::vector<Reaction> plainReactions() {
    return {
        {.name = "SerialConnection",
         .on = onAny,
         .key = "serial1",
         .value = R"({"_d_connectionPoint":{"type":"STRING","value":"Desk 4"}})",
         .announced = R"({"_d_name":{"name":"Name","type":"STRING","readonly":false,)"
                      R"("value":"COM2"},)"
                      R"("_d_dev":{"name":"Device","type":"STRING","readonly":false,)"
                      R"("value":"/dev/ttyS1"},)"
                      R"("_d_connectionPoint":{"name":"Active Connection","type":"STRING",)"
                      R"("readonly":false,"value":"Desk 4"}})",
         .text = "",
         .output = "system.serial1 == system.serial1\n"},
        {.name = "ActiveController",
         .on = onAny,
         .key = "activeKeli",
         .value = "0",
         .bus = {R"(["SET", "system", 8, 0, 0] {"id":"*","param":{"kelActiveMaster":"primary"}})"},
         .log = {debug("currentSystemState  activeKeli change detected")}},
        {.name = "Name",
         .on = onAny,
         .key = "frameName",
         .value = R"("Studio %s%n")",
         .text = "Studio %s%n",
         .saved = true},
        {.name = "Users", .on = onAny, .key = "quoraneUsersEnabled", .value = "0", .saved = true},
        {.name = "Reading",  // described as read-only, which is for clients to respect
         .on = onPolled,
         .key = "frameType",
         .value = "7",
         .text = "7"},
        {.name = "UnpolledReading",  // elsewhere the next poll sets it back
         .on = onBrio,
         .key = "psu1Voltage",
         .value = "3.5",
         .text = "3.500000"},
    };
}
