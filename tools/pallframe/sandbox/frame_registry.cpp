// A running frame has an entry: a file that is named after the frame's first process and contains
// the start time of that process. An entry whose start time differs belongs to an earlier process
// with the same number, and is removed by the next reader. Entries are written under another name
// and renamed, so that no reader sees half of one.

#include "pallframe/sandbox/frame_registry.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>

#include "cli/parse_number.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

namespace pallframe::sandbox {

namespace fs = std::filesystem;
namespace paths = simulation::paths;
using simulation::check;
using simulation::FrameError;
using simulation::FrameRoot;

namespace {

// Empty also for a process that ends during the read.
std::string readAll(const fs::path& path) {
    return FrameRoot("/").read(path.native());
}

// When a process started, in the kernel's ticks; empty when there is no such process. The second
// field, its name in parentheses, may hold anything, so fields are counted from its end (proc(5)).
std::string readStartTime(const std::string& pid) {
    const std::string text = readAll("/proc/" + pid + "/stat");
    std::istringstream fields(text.substr(std::min(text.rfind(')') + 1, text.size())));
    constexpr int kStartTime = 22;
    std::string field;
    for (int number = 3; number <= kStartTime; ++number) {
        field.clear();
        fields >> field;
    }
    return field;
}

// Only what the user's own programs wrote is believed: /tmp is open to all.
bool isOwn(const fs::path& directory) {
    struct stat status {};
    return ::lstat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == ::geteuid();
}

fs::path canonical(const fs::path& directory) {
    const fs::path path = fs::weakly_canonical(directory);
    return path.has_filename() ? path : path.parent_path();  // "here/" is "here"
}

// The product of a running frame; empty for one that is still being made and has the host's root.
std::string readProductName(const RunningFrame& frame) {
    return FrameRoot("/proc/" + std::to_string(frame.pid) + "/root").read(paths::kProduct);
}

std::chrono::system_clock::time_point writtenAt(const fs::path& file) {
    struct stat status {};
    check(::stat(file.c_str(), &status), file);
    return std::chrono::system_clock::from_time_t(status.st_mtim.tv_sec);
}

// An entry is a line with the start time, one with the directory (empty for a frame in memory), and
// the command. The file is as old as the frame.
std::optional<RunningFrame> readEntry(const fs::path& file) {
    const std::string pid = file.filename();
    std::istringstream text(readAll(file));
    std::string started;
    std::getline(text, started);
    if (started.empty() || started != readStartTime(pid)) {
        return std::nullopt;
    }
    RunningFrame frame{std::stoi(pid), ""};
    std::getline(text, frame.directory);
    frame.command.assign(std::istreambuf_iterator<char>(text), {});
    frame.product = readProductName(frame);
    frame.started = writtenAt(file);
    return frame;
}

std::string formatFrame(const RunningFrame& frame) {
    return std::to_string(frame.pid) + " (" + frame.product + ")";
}

std::string listFrames(const std::vector<RunningFrame>& running) {
    std::string names;
    for (const RunningFrame& frame : running) {
        names += (names.empty() ? "" : ", ") + formatFrame(frame);
    }
    return names;
}

}  // namespace

FrameRoot RunningFrame::tree() const {
    const std::string root = "/proc/" + std::to_string(pid) + "/root";
    FrameRoot tree(simulation::Descriptor(::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)));
    if (simulation::findProduct(tree.read(paths::kProduct)) == nullptr) {
        throw FrameError("frame " + std::to_string(pid) + " has ended");
    }
    return tree;
}

Registry::Registry(fs::path directory) : directory_(std::move(directory)) {}

Registry Registry::ofUser() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && isOwn(runtime)) {
        return Registry(fs::path(runtime) / "pallframe");
    }
    return Registry("/tmp/pallframe-" + std::to_string(::geteuid()));
}

void Registry::add(const RunningFrame& frame) const {
    fs::create_directory(directory_);
    if (!isOwn(directory_)) {
        errno = EPERM;
        simulation::fail(directory_);
    }
    check(::chmod(directory_.c_str(), S_IRWXU), directory_);
    const std::string pid = std::to_string(frame.pid);
    const fs::path draft = directory_ / ("new-" + pid);
    std::ofstream(draft) << readStartTime(pid) << "\n" << frame.directory << "\n" << frame.command;
    fs::rename(draft, directory_ / pid);
}

void Registry::remove(pid_t pid) const {
    std::error_code ignored;
    fs::remove(directory_ / std::to_string(pid), ignored);
}

std::vector<RunningFrame> Registry::running() const {
    std::vector<RunningFrame> running;
    if (!isOwn(directory_)) {
        return running;
    }
    for (const auto& entry : fs::directory_iterator(directory_)) {
        if (!cli::parseNumber<pid_t>(entry.path().filename().native())) {
            continue;
        }
        const auto frame = readEntry(entry.path());
        if (!frame) {
            fs::remove(entry.path());
        } else if (simulation::findProduct(frame->product) != nullptr) {
            running.push_back(*frame);
        }
    }
    std::ranges::sort(running, {}, &RunningFrame::pid);
    return running;
}

RunningFrame chooseFrame(const std::vector<RunningFrame>& running, std::string_view name) {
    if (running.empty()) {
        throw FrameError("you have no running frame; start one with pallframe run, or ./dev run");
    }
    if (name.empty() && running.size() > 1) {
        throw FrameError("several frames are running; choose one: " + listFrames(running));
    }
    const auto found = std::ranges::find_if(running, [name](const RunningFrame& frame) {
        return name.empty() || std::to_string(frame.pid) == name;
    });
    if (found == running.end()) {
        throw FrameError("frame '" + std::string(name) +
                         "' is not running; running: " + listFrames(running));
    }
    return *found;
}

RunningFrame frameIn(const std::vector<RunningFrame>& running, const std::string& directory) {
    const fs::path wanted = canonical(directory);
    const auto found = std::ranges::find_if(running, [&wanted](const RunningFrame& frame) {
        return !frame.directory.empty() && canonical(frame.directory) == wanted;
    });
    if (found == running.end()) {
        throw FrameError("no frame is running in " + directory);
    }
    return *found;
}

}  // namespace pallframe::sandbox
