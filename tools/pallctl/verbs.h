#pragma once

#include <functional>
#include <string>

#include "client/client.h"
#include "client/output.h"
#include "program/command_line.h"

// The verbs as the command line knows them. Each is added by one function, which describes its
// words and, when they were given, leaves what to do with them.

namespace pallctl {

// What every verb is told: the options that stand before or behind any of them.
struct Common {
    Reach reach;
    Style style;
    std::string object;  // as it was given; empty: not at all
};

// For a verb that has one form: false, after a complaint, when another was asked for.
bool takesForm(const Common& common, const char* verb);

// What the command line asks for; empty until one of the verbs was read.
using Run = std::function<ExitStatus(const Common& common)>;

using AddVerb = void (*)(CLI::App& app, Run& run);

// verbs_values.cpp
void addGet(CLI::App& app, Run& run);
void addSet(CLI::App& app, Run& run);
void addList(CLI::App& app, Run& run);
void addDescribe(CLI::App& app, Run& run);
void addWait(CLI::App& app, Run& run);
void addVersion(CLI::App& app, Run& run);

// verbs_listening.cpp
void addWatch(CLI::App& app, Run& run);
void addMonitor(CLI::App& app, Run& run);

// verb_network.cpp
void addNetwork(CLI::App& app, Run& run);

// verb_top.cpp
void addTop(CLI::App& app, Run& run);

}  // namespace pallctl
