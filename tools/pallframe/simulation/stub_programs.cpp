// kPrograms has one row for each program: its path, its action and its service. All paths are links
// to pallframe, which finds the row by the name it was called by. Each call is logged, delayed and
// failed as the frame's settings say, and only then performs its action.

#include "pallframe/simulation/stub_programs.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <thread>

#include "cli/escape.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

namespace pallframe::simulation {

namespace {

using Words = std::vector<std::string>;

struct Program;
using Action = int (*)(const FrameRoot& tree, const Program& self, const Words& words);

// One program: where it lies, what it does, and the service it looks after (empty: none).
struct Program {
    std::string_view path;
    Action action;
    std::string_view service;
};

constexpr std::string_view kRunning = "running";
constexpr std::string_view kStopped = "stopped";

void noteService(const FrameRoot& tree, std::string_view service, std::string_view state) {
    tree.replace(std::string(paths::kServices).append("/").append(service), state);
}

int justAnswer(const FrameRoot&, const Program&, const Words&) {
    return 0;
}

int launch(const FrameRoot& tree, const Program& self, const Words&) {
    noteService(tree, self.service, kRunning);
    return 0;
}

// start, stop or restart; without a word it does what it does at boot.
int initScript(const FrameRoot& tree, const Program& self, const Words& words) {
    const bool stops = words.size() > 1 && words[1] == "stop";
    noteService(tree, self.service, stops ? kStopped : kRunning);
    return 0;
}

constexpr std::array<std::array<std::string_view, 2>, 2> kUnits{
    {{"ssh", "ssh"}, {"vsftpd", "ftp"}}};

// systemctl start|stop UNIT; status 5 for a unit that is not installed, as the real one has it.
int systemctl(const FrameRoot& tree, const Program&, const Words& words) {
    const std::string unit = words.size() > 2 ? words[2] : "";
    const std::string file = std::string(paths::kUnits) + "/" + unit + ".service";
    for (const auto& [name, service] : kUnits) {
        if (name == unit && tree.exists(file)) {
            noteService(tree, service, words[1] == "stop" ? kStopped : kRunning);
            return 0;
        }
    }
    return 5;
}

// The calls of pkill that find something here: a process's name, cut to 15 characters as the kernel
// cuts it, or with -f a part of its command line.
struct Kill {
    std::string_view command;
    std::string_view service;
};

constexpr std::array<Kill, 3> kKills{{
    {"pkill ambrixsrvtst", "ambrix"},
    {"pkill brio-ambrix-shu", "ambrix-shutoff"},
    {"pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'", "ambrix-shutoff"},
}};

// Status 1 when no such process runs, as the real one has it.
int pkill(const FrameRoot& tree, const Program&, const Words& words) {
    for (const Kill& kill : kKills) {
        const std::string state = std::string(paths::kServices).append("/").append(kill.service);
        if (commandLine(words) == kill.command && tree.read(state) == kRunning) {
            noteService(tree, kill.service, kStopped);
            return 0;
        }
    }
    return 1;
}

// ifenslave --change-active BOND INTERFACE
int ifenslave(const FrameRoot& tree, const Program&, const Words& words) {
    if (words.size() != 4 || words[1] != "--change-active" || words[2] != "bond0") {
        std::fputs("Usage: ifenslave --change-active bond0 <interface>\n", stderr);
        return 2;
    }
    if (swapActivePort(tree, words[3])) {
        return 0;
    }
    std::fprintf(stderr, "Master 'bond0', Slave '%s': Error: Change active failed\n",
                 words[3].c_str());
    return 1;
}

constexpr std::string_view kBatteryLoadRegister = "0x8aa00014";

// devmem ADDRESS WIDTH VALUE
int devmem(const FrameRoot& tree, const Program&, const Words& words) {
    if (words.size() != 4) {
        std::fputs("Usage: devmem ADDRESS [WIDTH [VALUE]]\n", stderr);
        return 1;
    }
    if (words[1] == kBatteryLoadRegister) {
        setBatteryLoad(tree, std::strtol(words[3].c_str(), nullptr, 0) != 0);
    }
    return 0;
}

// Searches in a path of its own instead of the caller's, as the real one does.
int sudo(const FrameRoot&, const Program&, const Words& words) {
    std::vector<char*> arguments;
    for (size_t i = 1; i < words.size(); ++i) {
        arguments.push_back(const_cast<char*>(words[i].c_str()));
    }
    if (!arguments.empty()) {
        arguments.push_back(nullptr);
        ::setenv("PATH", kSearchPath, 1);
        ::execvp(arguments[0], arguments.data());
    }
    std::fprintf(stderr, "sudo: %s: command not found\n", words.back().c_str());
    return 1;
}

constexpr std::array<Program, 18> kPrograms{{
    {"/etc/init.d/S40network", initScript, "network"},
    {"/etc/init.d/S50dropbear", initScript, "ssh"},
    {"/etc/init.d/S53slpreg", initScript, "slpreg"},
    {"/etc/init.d/S54openslp", initScript, "openslp"},
    {"/etc/init.d/S56tcpsvd", initScript, "ftp"},
    {"/etc/init.d/S80tarnaview", initScript, "tarnaview"},
    {"/etc/init.d/S81ambrix", initScript, "ambrix"},
    {"/sbin/devmem", devmem, ""},
    {"/sbin/ifenslave", ifenslave, ""},
    {"/usr/local/sbin/pkill", pkill, ""},
    {"/usr/local/sbin/sudo", sudo, ""},
    {"/usr/local/sbin/systemctl", systemctl, ""},
    {"/vantor/bin/ambrix-shutoff.sh", launch, "ambrix-shutoff"},
    {"/vantor/bin/ambrixsrvlaunch.sh", launch, "ambrix"},
    {"/vantor/bin/brio-ambrix-shutoff.sh", launch, "ambrix-shutoff"},
    {"/vantor/bin/briskel", justAnswer, ""},
    {"/vantor/bin/keli-ip-changed-restart.sh", justAnswer, ""},
    {"/vantor/bin/restartNetworking.sh", launch, "network"},
}};

std::string_view baseName(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

const Program* findProgram(std::string_view name) {
    const auto* found = std::ranges::find(
        kPrograms, baseName(name), [](const Program& program) { return baseName(program.path); });
    return found == kPrograms.end() ? nullptr : found;
}

// Where one of its settings is kept, in a directory with a file per program.
std::string locateSetting(const Program& program, std::string_view directory) {
    return std::string(directory).append("/").append(baseName(program.path));
}

template <typename Number>
Number readNumber(const FrameRoot& tree, const std::string& file) {
    const std::string text = tree.read(file);
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

void pause(const FrameRoot& tree, const Program& program) {
    const auto seconds = readNumber<double>(tree, locateSetting(program, paths::kPauses));
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

void storeSetting(const FrameRoot& tree, std::string_view program, std::string_view directory,
                  const std::string& value) {
    const Program* found = findProgram(program);
    if (found == nullptr) {
        throw FrameError("this frame has no program '" + std::string(program) + "'");
    }
    tree.replace(locateSetting(*found, directory), value);
}

bool isPlain(const std::string& word) {
    constexpr std::string_view kSpecial = " \t\n'\"\\$`&|;<>()*?[]#~!{}";
    return !word.empty() && word.find_first_of(kSpecial) == std::string::npos;
}

// A line end leaves the quoted part and has a form of its own.
std::string quoteWord(const std::string& word) {
    constexpr std::string_view kLineEnd = "'$'\\n''";
    std::string text = cli::shellQuoted(word);
    for (size_t at = 0; (at = text.find('\n', at)) != std::string::npos; at += kLineEnd.size()) {
        text.replace(at, 1, kLineEnd);
    }
    return text;
}

}  // namespace

std::vector<std::string> programPaths() {
    std::vector<std::string> paths;
    for (const Program& program : kPrograms) {
        paths.emplace_back(program.path);
    }
    return paths;
}

bool isProgram(std::string_view name) {
    return findProgram(name) != nullptr;
}

int runProgram(const FrameRoot& tree, const Words& words) {
    const Program* program = findProgram(words.at(0));
    if (program == nullptr) {
        throw FrameError("no program '" + words[0] + "' in a frame");
    }
    tree.append(paths::kCommands, commandLine(words) + "\n");
    pause(tree, *program);
    if (const int status = readNumber<int>(tree, locateSetting(*program, paths::kExits));
        status != 0) {
        return status;
    }
    return program->action(tree, *program, words);
}

void setPause(const FrameRoot& tree, std::string_view program, double seconds) {
    storeSetting(tree, program, paths::kPauses, std::to_string(seconds));
}

void setExitStatus(const FrameRoot& tree, std::string_view program, int status) {
    storeSetting(tree, program, paths::kExits, std::to_string(status));
}

std::vector<ProgramSetting> programSettings(const FrameRoot& tree) {
    std::vector<ProgramSetting> settings;
    for (const Program& program : kPrograms) {
        const ProgramSetting one{std::string(baseName(program.path)),
                                 readNumber<double>(tree, locateSetting(program, paths::kPauses)),
                                 readNumber<int>(tree, locateSetting(program, paths::kExits))};
        if (one.seconds != 0 || one.status != 0) {
            settings.push_back(one);
        }
    }
    return settings;
}

std::string commandLine(const Words& words) {
    std::string line;
    for (const std::string& word : words) {
        line += line.empty() ? "" : " ";
        line += isPlain(word) ? word : quoteWord(word);
    }
    return line;
}

}  // namespace pallframe::simulation
