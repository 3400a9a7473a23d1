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

using Arguments = OperationKind::Arguments;

constexpr double kMaxSupplyVolts = 29.0;  // volts; what the converter can show
constexpr double kMaxBatteryVolts = 5.0;  // volts
constexpr std::chrono::hours kMaxDelay{1};
constexpr int kMaxExitStatus = 255;

[[noreturn]] void refuse(const std::string& word, const std::string& wanted) {
    throw FrameError("'" + word + "' is not " + wanted);
}

// Which of two words it is: true for the first.
bool parseEither(const std::string& word, const char* first, const char* second) {
    if (word != first && word != second) {
        refuse(word, std::string(first) + " or " + second);
    }
    return word == first;
}

template <typename Number>
Number parseNumberUpTo(Number most, const std::string& word) {
    const auto number = cli::parseNumber(word, Number{}, most);
    if (!number) {
        std::string bound = std::to_string(most);
        refuse(word, "a number from 0 to " + bound.substr(0, bound.find('.')));
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
std::string parsePath(const std::string& word) {
    const fs::path path(word);
    if (!path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end()) {
        refuse(word, "a path from the frame's root on");
    }
    const fs::path shortest = path.lexically_normal();
    const fs::path named = shortest.has_filename() ? shortest : shortest.parent_path();
    if (isOwn(named)) {
        refuse(word, "a file that a frame can do without");
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
        refuse(path, "a file");
    }
}

std::string parseProgram(const std::string& word) {
    if (!isProgram(word)) {
        throw FrameError("the frame has no program '" + word + "'");
    }
    return word;
}

Operation cable(Arguments words) {
    if (words[0] != "eth0" && words[0] != "eth1") {
        throw FrameError("the frame has no interface '" + words[0] + "'");
    }
    const bool up = parseEither(words[1], "up", "down");
    return {[port = words[0], up](const FrameRoot& tree) { setCable(tree, port, up); }};
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
    if (words[1].find('=') == std::string::npos || words[1].find('\n') != std::string::npos) {
        refuse(words[1], "one line KEY=VALUE");
    }
    const std::string path = parsePath(words[0]);
    return {[path, line = words[1]](const FrameRoot& tree) { editLine(tree, path, line); },
            [path](const FrameRoot& tree) { requireFile(tree, path); }, path};
}

Operation delay(Arguments words) {
    const auto time = cli::script::parseDuration(words[1]);
    if (!time) {
        throw FrameError(cli::script::invalidDuration(words[1]));
    }
    if (*time > kMaxDelay) {
        refuse(words[1], "a time of at most 1h");
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
    return kind->read(Arguments(words).subspan(1));
}

}  // namespace pallframe::simulation
