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

using AddVerb = void (*)(Verb program, Run& run);

// verbs_values.cpp
void addGet(Verb program, Run& run);
void addSet(Verb program, Run& run);
void addList(Verb program, Run& run);
void addDescribe(Verb program, Run& run);
void addWait(Verb program, Run& run);
void addVersion(Verb program, Run& run);

// verbs_listening.cpp
void addWatch(Verb program, Run& run);
void addMonitor(Verb program, Run& run);

// verb_network.cpp
void addNetwork(Verb program, Run& run);

// verb_top.cpp
void addTop(Verb program, Run& run);

}  // namespace pallctl
