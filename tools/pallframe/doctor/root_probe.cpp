// Paths are resolved below a descriptor of the root, so that no link leads out of it.
// If a process has this directory as its root, the probe goes through /proc/PID/root and sees the
// mounts of that process too. Parts that only a running frame has are reported as not running.

#include "pallframe/doctor/root_probe.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <sstream>
#include <string_view>

#include "pallframe/doctor/interpreters.h"
#include "pallframe/doctor/open_below.h"
#include "pallframe/doctor/running_root.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::doctor {

namespace {

using simulation::check;
using simulation::Descriptor;

constexpr size_t kMaxTextBytes = 1 << 20;

ProbeResult atRest() {
    return {State::notRunning, "needs a running frame"};
}

// Where units are looked for, the first one that is found counts (systemd.unit(5)).
constexpr std::array<std::string_view, 7> kUnitDirectories{
    simulation::paths::kUnits,       "/run/systemd/system",     "/run/systemd/generator",
    "/usr/local/lib/systemd/system", "/usr/lib/systemd/system", "/lib/systemd/system",
    "/run/systemd/generator.late"};

ProbeResult failed(int error) {
    const bool isMissing = error == ENOENT || error == ENOTDIR;
    const bool isForbidden = error == EACCES || error == EPERM;
    const State state = isMissing     ? State::missing
                        : isForbidden ? State::notAccessible
                                      : State::unreadable;
    return {state, std::strerror(error)};
}

Descriptor openRoot(const std::filesystem::path& directory) {
    return Descriptor(
        check(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), directory));
}

mode_t readMode(const Descriptor& opened) {
    struct stat status {};
    check(::fstat(opened.get(), &status), "fstat");
    return status.st_mode;
}

ProbeResult readText(const Descriptor& opened) {
    ProbeResult found;
    std::array<char, 65536> buffer{};
    ssize_t size = 0;
    while (found.text.size() < kMaxTextBytes &&
           (size = ::read(opened.get(), buffer.data(), buffer.size())) > 0) {
        found.text.append(buffer.data(), static_cast<size_t>(size));
    }
    return size < 0 ? failed(errno) : found;
}

// Connecting to a datagram socket sends nothing, and fails unless a process has the socket open.
ProbeResult probeConnection(const Descriptor& opened) {
    const Descriptor socket(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(opened.get());
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int result =
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    const bool isOfStreams = result < 0 && errno == EPROTOTYPE;  // the C library takes both
    return result == 0 || isOfStreams ? ProbeResult{} : failed(errno);
}

// Where a simulated frame shows the programs of the machine that it runs on.
bool isOfMachine(std::string_view path) {
    return path.starts_with("/bin/") ||
           (path.starts_with("/usr/") && !path.starts_with("/usr/local/sbin/"));
}

}  // namespace

RootProbe::RootProbe(const std::filesystem::path& directory)
    : root_(openRoot(directory)), process_(processIn(root_)) {
    if (!process_.empty()) {
        root_ = openRoot(process_ + "/root");  // with what is mounted for those inside
    }
}

ProbeResult RootProbe::open(const std::string& path, int flags, Descriptor& opened) const {
    opened = openBelow(root_, path, flags);
    return opened.get() < 0 ? failed(errno) : ProbeResult{};
}

ProbeResult RootProbe::file(const std::string& path) const {
    Descriptor opened;
    // A pipe in the place of the file must not block the doctor.
    ProbeResult found = open(path, O_RDONLY | O_NONBLOCK, opened);
    if (found.state != State::ok) {
        return found;
    }
    return S_ISREG(readMode(opened)) ? readText(opened)
                                     : ProbeResult{State::unreadable, "not a plain file"};
}

bool RootProbe::isFrame() const {
    return file(std::string(simulation::paths::kProduct)).state == State::ok;
}

bool RootProbe::isSimulated(const std::string& path) const {
    Descriptor opened;
    std::array<char, simulation::paths::kProgram.size() + 1> target{};
    if (open(path, O_PATH | O_NOFOLLOW, opened).state != State::ok) {
        return false;
    }
    const ssize_t size = ::readlinkat(opened.get(), "", target.data(), target.size());
    return size > 0 &&
           std::string_view(target.data(), static_cast<size_t>(size)) ==
               simulation::paths::kProgram &&
           isFrameAtRest();
}

// The host's directories, and the program behind the stub programs, are mounted in the namespace of
// a running frame, where only its processes see them.
bool RootProbe::isFrameAtRest() const {
    return isFrame() && executable(std::string(simulation::paths::kProgram)).state != State::ok;
}

ProbeResult RootProbe::executable(const std::string& path) const {
    constexpr mode_t kAnybody = S_IXUSR | S_IXGRP | S_IXOTH;
    Descriptor opened;
    ProbeResult found = open(path, O_PATH, opened);
    if (found.state == State::missing && isOfMachine(path) && isFrameAtRest()) {
        found = RootProbe("/").open(path, O_PATH, opened);  // from inside it is seen there
    }
    if (found.state != State::ok) {
        return found;
    }
    const mode_t mode = readMode(opened);
    return S_ISREG(mode) && (mode & kAnybody) != 0
               ? found
               : ProbeResult{State::notExecutable, "not an executable file"};
}

ProbeResult RootProbe::program(const std::string& name) const {
    if (name.starts_with("/")) {
        return programAt(name);
    }
    ProbeResult best{State::missing, "not in " + std::string(simulation::kSearchPath)};
    std::istringstream directories(simulation::kSearchPath);
    for (std::string directory; std::getline(directories, directory, ':');) {
        ProbeResult found = programAt(directory.append("/").append(name));
        if (found.state == State::ok) {
            return found;
        }
        best = found.state == State::missing ? best : found;
    }
    return best;
}

ProbeResult RootProbe::programAt(const std::string& path) const {
    if (isSimulated(path)) {
        return {};
    }
    ProbeResult found = executable(path);
    const ProbeResult content = file(path);
    if (found.state != State::ok || content.state != State::ok) {
        return found;  // what may be run need not be readable
    }
    if (content.text.empty()) {
        return {State::notExecutable, "empty"};
    }
    for (const std::string& interpreter : findInterpreters(content.text)) {
        const ProbeResult behind =
            interpreter.starts_with("/") ? executable(interpreter) : program(interpreter);
        if (behind.state != State::ok) {
            return {
                behind.state == State::notAccessible ? State::notAccessible : State::notExecutable,
                "its interpreter " + interpreter + ": " + behind.reason};
        }
    }
    return {};
}

ProbeResult RootProbe::directory(const std::string& path) const {
    Descriptor opened;
    ProbeResult found = open(path, O_PATH | O_DIRECTORY, opened);
    if (found.state != State::ok) {
        return found;
    }
    struct statvfs system {};
    check(::fstatvfs(opened.get(), &system), path);
    return (system.f_flag & ST_RDONLY) == 0
               ? found
               : ProbeResult{State::readOnly, "the file system is read-only"};
}

ProbeResult RootProbe::unit(const std::string& name) const {
    // The simulation's own systemctl knows no units of the machine that it runs on.
    const std::span directories(kUnitDirectories.data(), isFrame() ? 1 : kUnitDirectories.size());
    for (const std::string_view directory : directories) {
        ProbeResult found = file(std::string(directory) + "/" + name);
        if (found.state != State::missing) {
            return {found.state, found.reason};
        }
    }
    return {State::missing, "no such unit"};
}

ProbeResult RootProbe::listener(uint16_t port) const {
    if (process_.empty()) {
        return atRest();
    }
    const RootProbe machine("/");
    const ProbeResult tables = machine.file(process_ + "/net/tcp");
    if (tables.state != State::ok) {
        return {State::notAccessible, tables.reason};
    }
    const bool isThere = hasListener(tables.text, port) ||
                         hasListener(machine.file(process_ + "/net/tcp6").text, port);
    return isThere ? ProbeResult{} : ProbeResult{State::missing, "nothing is listening"};
}

ProbeResult RootProbe::special(const std::string& path, mode_t type, Descriptor& opened) const {
    if (process_.empty()) {
        return atRest();
    }
    ProbeResult found = open(path, O_PATH, opened);
    if (found.state != State::ok) {
        return found;
    }
    return (readMode(opened) & S_IFMT) == type ? found
                                               : ProbeResult{State::unreadable, "something else"};
}

ProbeResult RootProbe::syslog(const std::string& path) const {
    Descriptor opened;
    ProbeResult found = special(path, S_IFSOCK, opened);
    return found.state == State::ok ? probeConnection(opened) : found;
}

ProbeResult RootProbe::device(const std::string& path) const {
    Descriptor opened;
    return special(path, S_IFCHR, opened);
}

}  // namespace pallframe::doctor
