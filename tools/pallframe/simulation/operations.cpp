// kKinds has one row for each kind of operation: its name, its arguments, the function that parses
// them and its help. Parsing checks all that does not depend on a frame and returns the change as a
// function; Operation::check tells beforehand whether a particular frame allows it.

#include "pallframe/simulation/operations.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <filesystem>

#include "cli/parse_number.h"
#include "cli/timed_script.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/populate.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::simulation {

namespace fs = std::filesystem;

namespace {

using Argument = OperationKind::Argument;
using Arguments = OperationKind::Arguments;

constexpr double kMaxSupplyVolts = 29.0;  // volts; what the converter can show
constexpr double kMaxBatteryVolts = 5.0;  // volts
constexpr std::chrono::hours kMaxDelay{1};
constexpr int kMaxExitStatus = 255;

[[noreturn]] void refuse(const Argument& argument, const std::string& problem) {
    throw FrameError(std::string(argument.name) + ": " + problem);
}

[[noreturn]] void refuseWord(const Argument& argument, const std::string& wanted) {
    refuse(argument, "'" + argument.word + "' is not " + wanted);
}

// Which of two words it is: true for the first.
bool parseEither(const Argument& argument, const char* first, const char* second) {
    if (argument.word != first && argument.word != second) {
        refuseWord(argument, std::string(first) + " or " + second);
    }
    return argument.word == first;
}

template <typename Number>
Number parseNumberUpTo(Number most, const Argument& argument) {
    const auto number = cli::parseNumber(argument.word, Number{}, most);
    if (!number) {
        std::string bound = std::to_string(most);
        refuseWord(argument, "a number from 0 to " + bound.substr(0, bound.find('.')));
    }
    return *number;
}

// Whether the simulation itself lives there, above it or below it.
bool isOwn(const fs::path& path) {
    const fs::path own(paths::kOwnDirectory);
    const auto [ownRest, pathRest] =
        std::mismatch(own.begin(), own.end(), path.begin(), path.end());
    return ownRest == own.end() || pathRest == path.end();
}

// A process outside the frame may be root of the host, so no path may lead out of the tree.
std::string parsePath(const Argument& argument) {
    const fs::path path(argument.word);
    if (!path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end()) {
        refuseWord(argument, "a path from the frame's root on");
    }
    const fs::path shortest = path.lexically_normal();
    const fs::path named = shortest.has_filename() ? shortest : shortest.parent_path();
    if (isOwn(named)) {
        refuseWord(argument, "a file that a frame can do without");
    }
    return named;
}

// "; it needs --product Tessara or Tessara-5ru", for a file that other products have.
std::string nameProductsWith(const std::string& path) {
    std::string names;
    for (const std::string_view name : findProductsWith(path)) {
        names.append(names.empty() ? "; it needs --product " : " or ").append(name);
    }
    return names;
}

void requireThere(const FrameRoot& tree, const std::string& path) {
    if (!tree.exists(tree.whereKept(path))) {
        throw FrameError("the frame has no file '" + path + "'" + nameProductsWith(path));
    }
}

void requireFile(const FrameRoot& tree, const std::string& path) {
    if (fs::is_directory(tree.path(path))) {
        throw FrameError("'" + path + "' is not a file");
    }
}

std::string parseProgram(const Argument& argument) {
    if (!isProgram(argument.word)) {
        refuse(argument, "the frame has no program '" + argument.word + "'");
    }
    return argument.word;
}

Operation cable(Arguments words) {
    const std::string& port = words[0].word;
    if (port != "eth0" && port != "eth1") {
        refuse(words[0], "the frame has no interface '" + port + "'");
    }
    const bool up = parseEither(words[1], "up", "down");
    return {[port, up](const FrameRoot& tree) { setCable(tree, port, up); }};
}

Operation supply(Arguments words) {
    const int number = parseEither(words[0], "1", "2") ? 1 : 2;
    const double volts = parseNumberUpTo(kMaxSupplyVolts, words[1]);
    return {[number, volts](const FrameRoot& tree) { setSupply(tree, number, volts); }};
}

Operation battery(Arguments words) {
    const double volts = parseNumberUpTo(kMaxBatteryVolts, words[0]);
    return {[volts](const FrameRoot& tree) { setBattery(tree, volts); }};
}

Operation file(Arguments words) {
    const bool present = parseEither(words[1], "present", "missing");
    const std::string path = parsePath(words[0]);
    if (present) {
        return {[path](const FrameRoot& tree) { tree.restore(path); }, {}, path};
    }
    return {[path](const FrameRoot& tree) { tree.setAside(path); },
            [path](const FrameRoot& tree) { requireThere(tree, path); }, path};
}

Operation edit(Arguments words) {
    const std::string& line = words[1].word;
    if (line.find('=') == std::string::npos || line.find('\n') != std::string::npos) {
        refuseWord(words[1], "one line KEY=VALUE");
    }
    const std::string path = parsePath(words[0]);
    return {[path, line](const FrameRoot& tree) { editLine(tree, path, line); },
            [path](const FrameRoot& tree) { requireFile(tree, path); }, path};
}

Operation delay(Arguments words) {
    const auto time = cli::script::parseDuration(words[1].word);
    if (!time) {
        refuse(words[1], cli::script::invalidDuration(words[1].word));
    }
    if (*time > kMaxDelay) {
        refuseWord(words[1], "a time of at most 1h");
    }
    const double seconds = std::chrono::duration<double>(*time).count();
    return {[program = parseProgram(words[0]), seconds](const FrameRoot& tree) {
        setPause(tree, program, seconds);
    }};
}

Operation exitStatus(Arguments words) {
    const int status = parseNumberUpTo(kMaxExitStatus, words[1]);
    return {[program = parseProgram(words[0]), status](const FrameRoot& tree) {
        setExitStatus(tree, program, status);
    }};
}

constexpr std::array<OperationKind, 7> kKinds{{
    {"cable", {"PORT", "STATE"}, cable, "Unplug (down) or plug (up) the cable of eth0 or eth1"},
    {"psu", {"NUMBER", "VOLTS"}, supply, "Output of power supply 1 or 2"},
    {"battery", {"VOLTS", ""}, battery, "Voltage of the battery under load; 0: no battery"},
    {"file", {"PATH", "STATE"}, file, "Set a file aside (missing) or restore it (present)"},
    {"edit", {"PATH", "LINE"}, edit, "Write this line KEY=VALUE to a file, as an editor would"},
    {"delay", {"PROGRAM", "TIME"}, delay, "Time that each call takes, such as of S40network"},
    {"exit-status",
     {"PROGRAM", "STATUS"},
     exitStatus,
     "Status of each call, which has no effect; 0: normal"},
}};

size_t countArguments(const OperationKind& kind) {
    return kind.arguments[1].empty() ? 1 : 2;
}

std::string kindNames() {
    std::string names;
    for (const OperationKind& kind : kKinds) {
        names.append(names.empty() ? "" : ", ").append(kind.name);
    }
    return names;
}

}  // namespace

void Operation::operator()(const FrameRoot& tree) const {
    if (check) {
        check(tree);
    }
    make(tree);
}

std::span<const OperationKind> operationKinds() {
    return kKinds;
}

Operation parseOperation(const Words& words) {
    const std::string name = words.empty() ? "" : words[0];
    const auto* kind = std::ranges::find(kKinds, name, &OperationKind::name);
    if (kind == kKinds.end()) {
        throw UnknownOperation("'" + name + "' is not a change; choose from " + kindNames());
    }
    if (words.size() != 1 + countArguments(*kind)) {
        throw FrameError(std::string(kind->name)
                             .append(" needs ")
                             .append(kind->arguments[0])
                             .append(kind->arguments[1].empty() ? "" : " and ")
                             .append(kind->arguments[1]));
    }
    std::vector<Argument> arguments;
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        arguments.push_back({kind->arguments[i], words[i + 1]});
    }
    return kind->read(arguments);
}

}  // namespace pallframe::simulation
