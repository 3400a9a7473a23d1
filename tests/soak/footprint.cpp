#include "soaking/footprint.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

namespace soak {

namespace fs = std::filesystem;

namespace {

// The fields of a process's status; empty when it has gone.
std::map<std::string, std::string> statusOf(const fs::path& process) {
    std::map<std::string, std::string> fields;
    std::ifstream file(process / "status");
    for (std::string line; std::getline(file, line);) {
        const size_t colon = line.find(':');
        const size_t value = line.find_first_not_of(" \t", colon + 1);
        if (colon != std::string::npos && value != std::string::npos) {
            fields[line.substr(0, colon)] = line.substr(value);
        }
    }
    return fields;
}

size_t numberOf(const std::map<std::string, std::string>& fields, const char* key) {
    const auto found = fields.find(key);
    return found == fields.end() ? 0 : std::stoul(found->second);
}

bool isNumber(const std::string& name) {
    return name.find_first_not_of("0123456789") == std::string::npos;
}

std::vector<std::string> withParent(const fs::path& proc, const std::string& parent,
                                    const std::string& except) {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(proc)) {
        const std::string pid = entry.path().filename();
        if (!isNumber(pid) || pid == except) {
            continue;
        }
        const auto fields = statusOf(entry.path());
        if (fields.contains("PPid") && fields.at("PPid") == parent) {
            found.push_back(pid + " " + fields.at("Name") + " " + fields.at("State"));
        }
    }
    return found;
}

}  // namespace

Footprint footprintOf(const fs::path& process) {
    const auto fields = statusOf(process);
    Footprint footprint;
    footprint.residentKiB = numberOf(fields, "VmRSS");
    footprint.anonymousKiB = numberOf(fields, "RssAnon");
    footprint.threads = numberOf(fields, "Threads");
    footprint.descriptors = static_cast<size_t>(
        std::distance(fs::directory_iterator(process / "fd"), fs::directory_iterator()));
    return footprint;
}

std::vector<std::string> childrenOf(const fs::path& process) {
    return withParent(process.parent_path(), process.filename(), "");
}

std::vector<std::string> siblings() {
    const fs::path self = fs::canonical("/proc/self");
    return withParent(self.parent_path(), statusOf(self)["PPid"], self.filename());
}

}  // namespace soak
