#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "harness/frame.h"
#include "harness/syslog_receiver.h"

// What a set of one parameter does, as far as anything of it shows outside of the daemon. In the
// texts "<product>" stands for the name of the frame's product.
struct Reaction {
    std::string name;
    bool (*on)(std::string_view product);

    // Before the daemon starts, and whether its poll is to have seen the ports before the set.
    void (*prepare)(const harness::Frame& frame) = [](const harness::Frame&) {};
    bool portsKnown = false;

    std::string key;
    std::string value;                          // as JSON
    std::optional<std::string> announced = {};  // as JSON, when it is another one
    std::optional<std::string> text = {};       // in the log, when it is another one
    std::optional<std::string> left = {};       // what the parameter holds in the end, likewise

    // Besides the announcement, the answer, and the lines that every set leaves in the log. All in
    // their order.
    std::vector<std::string> bus = {};
    std::vector<harness::LogLine> log = {};
    std::vector<std::string> commands = {};
    std::vector<std::string> background = {};  // commands too, in any order, after the others
    std::string output = {};
    std::optional<std::string> network = {};  // network.conf, when it is written
    bool saved = false;                       // the state file is written
};

std::vector<Reaction> serviceReactions();
std::vector<Reaction> portReactions();
std::vector<Reaction> networkReactions();
std::vector<Reaction> commandReactions();
std::vector<Reaction> plainReactions();
