#include "inspection/sight.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <sstream>
#include <string_view>

#include "frame/paths.h"
#include "frame/programs.h"
#include "inspection/interpreters.h"
#include "inspection/live.h"

namespace inspection {

namespace {

using frame::check;
using frame::Descriptor;

constexpr size_t kMaxTextBytes = 1 << 20;

Sight atRest() {
    return {State::atRest, "needs a running frame"};
}

// Where units are looked for, the first one that is found counts (systemd.unit(5)).
constexpr std::array<std::string_view, 7> kUnitDirectories{
    frame::paths::kUnits,         "/run/systemd/system",
    "/run/systemd/generator",     "/usr/local/lib/systemd/system",
    "/usr/lib/systemd/system",    "/lib/systemd/system",
    "/run/systemd/generator.late"};

Sight failed(int error) {
    const bool isMissing = error == ENOENT || error == ENOTDIR;
    const bool isForbidden = error == EACCES || error == EPERM;
    const State state = isMissing     ? State::missing
                        : isForbidden ? State::unseen
                                      : State::unreadable;
    return {state, std::strerror(error)};
}

Descriptor openedRoot(const std::filesystem::path& directory) {
    return Descriptor(
        check(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), directory));
}

mode_t modeOf(const Descriptor& opened) {
    struct stat status {};
    check(::fstat(opened.get(), &status), "fstat");
    return status.st_mode;
}

Sight textOf(const Descriptor& opened) {
    Sight sight;
    std::array<char, 65536> buffer{};
    ssize_t size = 0;
    while (sight.text.size() < kMaxTextBytes &&
           (size = ::read(opened.get(), buffer.data(), buffer.size())) > 0) {
        sight.text.append(buffer.data(), static_cast<size_t>(size));
    }
    return size < 0 ? failed(errno) : sight;
}

// Connecting to a socket of datagrams sends nothing; it tells whether somebody has it open.
Sight answerOf(const Descriptor& opened) {
    const Descriptor socket(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(opened.get());
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int result =
        ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address));
    const bool isOfStreams = result < 0 && errno == EPROTOTYPE;  // the C library takes both
    return result == 0 || isOfStreams ? Sight{} : failed(errno);
}

// Where a simulated frame shows the programs of the machine that it runs on.
bool isOfMachine(std::string_view path) {
    return path.starts_with("/bin/") ||
           (path.starts_with("/usr/") && !path.starts_with("/usr/local/sbin/"));
}

}  // namespace

Root::Root(const std::filesystem::path& directory)
    : root_(openedRoot(directory)), process_(processIn(root_)) {
    if (!process_.empty()) {
        root_ = openedRoot(process_ + "/root");  // with what is mounted for those inside
    }
}

Sight Root::open(const std::string& path, int flags, Descriptor& opened) const {
    open_how how{};
    how.flags = static_cast<__u64>(flags | O_CLOEXEC);
    how.resolve = RESOLVE_IN_ROOT;
    opened = Descriptor(
        static_cast<int>(::syscall(SYS_openat2, root_.get(), path.c_str(), &how, sizeof(how))));
    return opened.get() < 0 ? failed(errno) : Sight{};
}

Sight Root::file(const std::string& path) const {
    Descriptor opened;
    // A pipe in the place of a file must not hold anybody up.
    Sight sight = open(path, O_RDONLY | O_NONBLOCK, opened);
    if (sight.state != State::well) {
        return sight;
    }
    return S_ISREG(modeOf(opened)) ? textOf(opened) : Sight{State::unreadable, "not a plain file"};
}

bool Root::isFrame() const {
    return file(std::string(frame::paths::kProduct)).state == State::well;
}

bool Root::isSimulated(const std::string& path) const {
    Descriptor opened;
    std::array<char, frame::paths::kProgram.size() + 1> target{};
    if (open(path, O_PATH | O_NOFOLLOW, opened).state != State::well) {
        return false;
    }
    const ssize_t size = ::readlinkat(opened.get(), "", target.data(), target.size());
    return size > 0 &&
           std::string_view(target.data(), static_cast<size_t>(size)) == frame::paths::kProgram &&
           isFrameAtRest();
}

// What a simulated frame shows of the machine, and the program behind all of its own, is mounted
// where only those inside see it.
bool Root::isFrameAtRest() const {
    return isFrame() && executable(std::string(frame::paths::kProgram)).state != State::well;
}

Sight Root::executable(const std::string& path) const {
    constexpr mode_t kAnybody = S_IXUSR | S_IXGRP | S_IXOTH;
    Descriptor opened;
    Sight sight = open(path, O_PATH, opened);
    if (sight.state == State::missing && isOfMachine(path) && isFrameAtRest()) {
        sight = Root("/").open(path, O_PATH, opened);  // from inside it is seen there
    }
    if (sight.state != State::well) {
        return sight;
    }
    const mode_t mode = modeOf(opened);
    return S_ISREG(mode) && (mode & kAnybody) != 0
               ? sight
               : Sight{State::notExecutable, "no program that may be run"};
}

Sight Root::program(const std::string& name) const {
    if (name.starts_with("/")) {
        return programAt(name);
    }
    Sight best{State::missing, "not in " + std::string(frame::kSearchPath)};
    std::istringstream directories(frame::kSearchPath);
    for (std::string directory; std::getline(directories, directory, ':');) {
        Sight sight = programAt(directory.append("/").append(name));
        if (sight.state == State::well) {
            return sight;
        }
        best = sight.state == State::missing ? best : sight;
    }
    return best;
}

Sight Root::programAt(const std::string& path) const {
    if (isSimulated(path)) {
        return {};
    }
    Sight sight = executable(path);
    const Sight content = file(path);
    if (sight.state != State::well || content.state != State::well) {
        return sight;  // what may be run need not be readable
    }
    if (content.text.empty()) {
        return {State::notExecutable, "empty"};
    }
    for (const std::string& interpreter : interpretersOf(content.text)) {
        const Sight behind =
            interpreter.starts_with("/") ? executable(interpreter) : program(interpreter);
        if (behind.state != State::well) {
            return {behind.state == State::unseen ? State::unseen : State::notExecutable,
                    "its interpreter " + interpreter + ": " + behind.reason};
        }
    }
    return {};
}

Sight Root::directory(const std::string& path) const {
    Descriptor opened;
    Sight sight = open(path, O_PATH | O_DIRECTORY, opened);
    if (sight.state != State::well) {
        return sight;
    }
    struct statvfs system {};
    check(::fstatvfs(opened.get(), &system), path);
    return (system.f_flag & ST_RDONLY) == 0
               ? sight
               : Sight{State::readOnly, "the file system is read-only"};
}

Sight Root::unit(const std::string& name) const {
    // The simulation's own systemctl knows no units of the machine that it runs on.
    const std::span directories(kUnitDirectories.data(), isFrame() ? 1 : kUnitDirectories.size());
    for (const std::string_view directory : directories) {
        Sight sight = file(std::string(directory) + "/" + name);
        if (sight.state != State::missing) {
            return {sight.state, sight.reason};
        }
    }
    return {State::missing, "no such unit"};
}

Sight Root::listener(uint16_t port) const {
    if (process_.empty()) {
        return atRest();
    }
    const Root machine("/");
    const Sight tables = machine.file(process_ + "/net/tcp");
    if (tables.state != State::well) {
        return {State::unseen, tables.reason};
    }
    const bool isThere = hasListener(tables.text, port) ||
                         hasListener(machine.file(process_ + "/net/tcp6").text, port);
    return isThere ? Sight{} : Sight{State::missing, "nothing is listening"};
}

Sight Root::special(const std::string& path, mode_t type, Descriptor& opened) const {
    if (process_.empty()) {
        return atRest();
    }
    Sight sight = open(path, O_PATH, opened);
    if (sight.state != State::well) {
        return sight;
    }
    return (modeOf(opened) & S_IFMT) == type ? sight : Sight{State::unreadable, "something else"};
}

Sight Root::syslog(const std::string& path) const {
    Descriptor opened;
    Sight sight = special(path, S_IFSOCK, opened);
    return sight.state == State::well ? answerOf(opened) : sight;
}

Sight Root::device(const std::string& path) const {
    Descriptor opened;
    return special(path, S_IFCHR, opened);
}

}  // namespace inspection
