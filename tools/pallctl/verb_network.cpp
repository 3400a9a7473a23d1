// The verb that may cut off the person who uses it.

#include <array>
#include <memory>
#include <string>

#include "client/network.h"
#include "program/timed_script.h"
#include "verbs.h"

namespace pallctl {

namespace {

constexpr const char* kNotes =
    "Needs one of the three settings at least. Sends what differs from those in\n"
    "force, the address last: the daemon restarts the network for each. What would\n"
    "leave the frame out of reach is not sent.\n"
    "With --confirm-within, \"yes\" has to come from standard input in time. If not,\n"
    "the old settings are set back: also when the input ends, on Ctrl-C, and when\n"
    "terminal, pallctl or bus go away. TIME is 90s, 2m or 500ms.\n"
    "Ends with 0, 7 set back, 8 not set back; or as pallctl: nothing has changed.";

struct NetworkWords {
    std::array<std::string, kNetworkMembers.size()> settings;
    std::string confirmWithin;
    bool force = false;
};

std::string checkAddress(const std::string& text) {
    if (text == "0.0.0.0") {
        return "0.0.0.0 cannot be set: the daemon takes it for none";
    }
    return addressOf(text) ? "" : "'" + text + "' is no address such as 10.1.2.3";
}

std::string checkTime(const std::string& text) {
    const auto time = script::parseTimeOption(text);
    return time && time->count() > 0 ? "" : "'" + text + "' is no time such as 90s or 2m";
}

NetworkRequest requestOf(const NetworkWords& words) {
    NetworkRequest request;
    for (size_t member = 0; member < kNetworkMembers.size(); ++member) {
        request.wish.*kNetworkMembers[member].value = addressOf(words.settings[member]).value_or(0);
    }
    if (request.wish == NetworkSettings()) {
        throw BadUsage("needs --address, --netmask or --gateway");
    }
    request.confirmWithin = script::parseTimeOption(words.confirmWithin);
    request.force = words.force;
    return request;
}

// It talks to a person, or to a script that says yes.
ExitStatus change(const Common& common, const NetworkRequest& request) {
    return takesForm(common, "network") ? changeNetwork(common.reach, request) : kUsage;
}

}  // namespace

void addNetwork(Verb program, Run& run) {
    Verb verb = program.addVerb("network", "Change the network settings, with a way back");
    const auto words = std::make_shared<NetworkWords>();
    for (size_t member = 0; member < kNetworkMembers.size(); ++member) {
        verb.add(kNetworkMembers[member].option, words->settings[member],
                 kNetworkMembers[member].meaning)
            .kind("A.B.C.D")
            .check(checkAddress);
    }
    verb.add("--confirm-within", words->confirmWithin, "Set back unless confirmed")
        .kind("TIME")
        .check(checkTime);
    verb.addFlag("--force", words->force, "Send also what would leave it out of reach");
    verb.notes(kNotes);
    verb.action([&run, words] {
        run = [request = requestOf(*words)](const Common& common) {
            return change(common, request);
        };
    });
}

}  // namespace pallctl
