#include "soak_lib/footprint.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "harness/process_table.h"
#include "util/files.h"

namespace soak {

namespace fs = std::filesystem;

namespace {

// A field of a process's status; 0 when the process has ended.
size_t findNumber(const std::string& status, const std::string& key) {
    const size_t at = status.find("\n" + key + ":");
    return at == std::string::npos
               ? 0
               : std::strtoul(status.c_str() + at + key.size() + 2, nullptr, 10);
}

// A process that has ended has none; the directory of its descriptors belongs to root.
size_t countDescriptors(const fs::path& process) {
    std::error_code ended;
    const fs::directory_iterator first(process / "fd", ended);
    return static_cast<size_t>(std::distance(first, fs::directory_iterator()));
}

std::vector<std::string> listWithParent(const std::string& parent, const std::string& except) {
    std::vector<std::string> found;
    for (const harness::ProcessEntry& entry : harness::processes()) {
        const std::string name = entry.proc.filename();
        if (entry.parent == parent && name != except) {
            found.push_back(name + " " + entry.state +
                            (entry.state == 'Z' ? " (zombie)" : " " + entry.commandLine));
        }
    }
    return found;
}

}  // namespace

Footprint readFootprint(const fs::path& process) {
    const std::string status = util::readWholeFile(process / "status");
    return {findNumber(status, "VmRSS"), findNumber(status, "RssAnon"), countDescriptors(process),
            findNumber(status, "Threads")};
}

void reportGrowth(Report& report, const std::string& process, const Footprint& start,
                  const Footprint& end, size_t growthKiB) {
    const auto addRow = [&](const char* what, size_t Footprint::*field) {
        report.row(process + ": " + what + ", start / end",
                   std::to_string(start.*field) + " / " + std::to_string(end.*field));
        return end.*field > start.*field ? end.*field - start.*field : 0;
    };
    addRow("resident memory, KiB", &Footprint::residentKiB);
    if (addRow("anonymous memory, KiB", &Footprint::anonymousKiB) > growthKiB) {
        report.fail(process + ": memory grew");
    }
    if (addRow("descriptors", &Footprint::descriptors) > 0) {
        report.fail(process + ": descriptors were left open");
    }
    if (addRow("threads", &Footprint::threads) > 0) {
        report.fail(process + ": threads were left");
    }
}

std::vector<std::string> listChildren(const fs::path& process) {
    return listWithParent(process.filename(), "");
}

std::vector<std::string> listSiblings() {
    const std::string self = fs::read_symlink(harness::processRoot() / "self");
    const auto all = harness::processes();
    const auto own = std::ranges::find_if(
        all, [&self](const auto& entry) { return entry.proc.filename() == self; });
    return listWithParent(own->parent, self);
}

}  // namespace soak
