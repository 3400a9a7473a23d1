#include "inspection/sight.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "frame/paths.h"

namespace inspection {

namespace {

using frame::check;
using frame::Descriptor;

constexpr size_t kMostText = 1 << 20;

Sight failed(int error) {
    const bool isMissing = error == ENOENT || error == ENOTDIR;
    const bool isForbidden = error == EACCES || error == EPERM;
    const State state = isMissing     ? State::missing
                        : isForbidden ? State::unseen
                                      : State::unreadable;
    return {state, std::strerror(error)};
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
    while (sight.text.size() < kMostText &&
           (size = ::read(opened.get(), buffer.data(), buffer.size())) > 0) {
        sight.text.append(buffer.data(), static_cast<size_t>(size));
    }
    return size < 0 ? failed(errno) : sight;
}

// The program that a script names in its first line; empty when that is no script's.
std::string interpreterOf(const std::string& text) {
    constexpr std::string_view kMark = "#!";
    constexpr const char* kBlanks = " \t";
    if (!text.starts_with(kMark)) {
        return "";
    }
    const std::string line = text.substr(0, text.find('\n'));
    const size_t begin = std::min(line.find_first_not_of(kBlanks, kMark.size()), line.size());
    return line.substr(begin, line.find_first_of(" \t\r", begin) - begin);
}

// Where a simulated frame shows the programs of the machine that it runs on.
bool isOfMachine(std::string_view path) {
    return path.starts_with("/bin/") ||
           (path.starts_with("/usr/") && !path.starts_with("/usr/local/sbin/"));
}

}  // namespace

Root::Root(const std::filesystem::path& directory)
    : root_(check(::open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC), directory)) {}

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
    const Sight sight = open(path, O_RDONLY | O_NONBLOCK, opened);
    if (sight.state != State::well) {
        return sight;
    }
    return S_ISREG(modeOf(opened)) ? textOf(opened) : Sight{State::unreadable, "not a plain file"};
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
    return file(std::string(frame::paths::kProduct)).state == State::well &&
           executable(std::string(frame::paths::kProgram)).state != State::well;
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

Sight Root::program(const std::string& path) const {
    if (isSimulated(path)) {
        return {};
    }
    const Sight sight = executable(path);
    const Sight content = file(path);
    if (sight.state != State::well || content.state != State::well) {
        return sight;  // what may be run need not be readable
    }
    if (content.text.empty()) {
        return {State::notExecutable, "empty"};
    }
    const std::string interpreter = interpreterOf(content.text);
    const Sight behind = interpreter.empty() ? Sight{} : executable(interpreter);
    if (behind.state == State::well) {
        return {};
    }
    return {behind.state == State::unseen ? State::unseen : State::notExecutable,
            "its interpreter " + interpreter + ": " + behind.reason};
}

Sight Root::directory(const std::string& path) const {
    Descriptor opened;
    const Sight sight = open(path, O_PATH | O_DIRECTORY, opened);
    if (sight.state != State::well) {
        return sight;
    }
    struct statvfs system {};
    check(::fstatvfs(opened.get(), &system), path);
    return (system.f_flag & ST_RDONLY) == 0
               ? sight
               : Sight{State::readOnly, "the file system is read-only"};
}

}  // namespace inspection
