#include "process_table.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

namespace harness {

namespace fs = std::filesystem;

namespace {

// What can be read: a process may end between the opening of its file and the reading.
std::string readAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

ProcessEntry readProcess(const fs::path& proc) {
    ProcessEntry entry;
    entry.proc = proc;
    std::istringstream status(readAll(proc / "status"));
    for (std::string line; std::getline(status, line);) {
        std::istringstream words(line);
        std::string key;
        words >> key;
        if (key == "State:") {
            words >> entry.state;
        } else if (key == "PPid:") {
            words >> entry.parent;
        } else if (key == "NSpid:") {  // outermost first
            while (words >> entry.pid) {
            }
        }
    }
    entry.commandLine = readAll(proc / "cmdline");
    std::replace(entry.commandLine.begin(), entry.commandLine.end(), '\0', ' ');
    return entry;
}

std::set<std::string> selfAndAncestors() {
    std::set<std::string> names;
    std::string name = fs::read_symlink(processRoot() / "self");
    while (!name.empty() && names.insert(name).second) {
        name = readProcess(processRoot() / name).parent;
    }
    return names;
}

bool isOfThisFrame(const fs::path& proc) {
    std::error_code gone;
    const fs::path space = fs::read_symlink(proc / "ns/pid", gone);
    return !gone && space == fs::read_symlink("/proc/self/ns/pid");
}

}  // namespace

void waitUntilAlone(const Deadline& deadline) {
    const std::set<std::string> family = selfAndAncestors();
    const auto isFamily = [&](const ProcessEntry& entry) {
        return family.contains(entry.proc.filename());
    };
    const auto alone = [&] {
        const std::vector<ProcessEntry> all = processes();
        return std::all_of(all.begin(), all.end(), isFamily);
    };
    waitUntil(alone, "the frame's other processes to end", deadline);
}

fs::path processRoot() {
    return fs::exists("/run/proc") ? "/run/proc" : "/proc";
}

std::vector<ProcessEntry> processes() {
    std::vector<ProcessEntry> all;
    for (const auto& entry : fs::directory_iterator(processRoot())) {
        const std::string name = entry.path().filename();
        if (name.find_first_not_of("0123456789") == std::string::npos &&
            isOfThisFrame(entry.path())) {
            all.push_back(readProcess(entry.path()));
        }
    }
    return all;
}

std::vector<std::string> descriptorsOf(const fs::path& proc) {
    std::map<int, std::string> sorted;
    for (const auto& entry : fs::directory_iterator(proc / "fd")) {
        std::error_code gone;
        const fs::path target = fs::read_symlink(entry.path(), gone);
        if (!gone) {
            sorted[std::stoi(entry.path().filename())] = target;
        }
    }
    std::vector<std::string> all;
    std::transform(sorted.begin(), sorted.end(), std::back_inserter(all),
                   [](const auto& numbered) { return numbered.second; });
    return all;
}

}  // namespace harness
