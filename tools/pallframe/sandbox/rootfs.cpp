// The root is a directory or a file system in memory. The simulation populates it; then the host's
// programs and libraries are mounted into it read-only, and pivot_root(2) makes it the root.
// Everything of the host that must appear at a path which the new root hides is opened as a
// detached mount before. /proc is a directory of links to the kernel's, since that cannot hold a
// bonding file.

#include "pallframe/sandbox/rootfs.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <vector>

#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/mounts.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/populate.h"

namespace pallframe::sandbox {

namespace {

namespace fs = std::filesystem;
using simulation::check;

// Every host has it, and nothing of it is wanted inside.
constexpr const char* kMemoryRoot = "/tmp";

constexpr const char* kProcesses = "/run/proc";
// Enough for a test, and quick to make. Under the address sanitizer each process looks itself up by
// number and starts others for that, so it takes more.
#ifdef __SANITIZE_ADDRESS__
constexpr int kFewProcesses = 5000;
#else
constexpr int kFewProcesses = 300;
#endif
constexpr int kManyProcesses = 20000;

// The last two make manual pages readable.
constexpr std::array<const char*, 9> kHostParts{"/bin",
                                                "/lib",
                                                "/lib32",
                                                "/lib64",
                                                "/libx32",
                                                "/etc/alternatives",
                                                "/etc/ld.so.cache",
                                                "/etc/groff",
                                                "/etc/manpath.config"};
constexpr std::array<const char*, 6> kDevices{"/dev/full", "/dev/null",    "/dev/random",
                                              "/dev/tty",  "/dev/urandom", "/dev/zero"};
constexpr std::array<std::array<const char*, 2>, 4> kDeviceLinks{{
    {"fd", "/proc/self/fd"},
    {"stdin", "/proc/self/fd/0"},
    {"stdout", "/proc/self/fd/1"},
    {"stderr", "/proc/self/fd/2"},
}};

// The directories of the project, which keep their places in the frame.
std::vector<HostMount> projectPlaces() {
    std::vector<fs::path> paths = programDirectories();
    paths.insert(paths.begin(), fs::current_path());
    return std::vector<HostMount>(paths.begin(), paths.end());
}

void showPlaces(const fs::path& root, const std::vector<HostMount>& places) {
    for (const HostMount& place : places) {
        const fs::path target = root / place.path().relative_path();
        if (!fs::exists(target)) {
            makePlace(target, true);
            place.appearAt(target);
        }
    }
}

fs::path mountRoot(const std::string& directory) {
    if (directory.empty()) {
        check(::mount("frame", kMemoryRoot, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755"),
              "cannot make a root in memory");
        return kMemoryRoot;
    }
    check(::mount(directory.c_str(), directory.c_str(), nullptr, MS_BIND, nullptr),
          "cannot use " + directory + " as root");
    return directory;
}

// The entries of a directory of the host that the frame does not have.
void showEntries(const fs::path& root, const fs::path& directory) {
    if (!fs::is_directory(directory)) {
        return;
    }
    for (const auto& entry : fs::directory_iterator(directory)) {
        if (!fs::exists(fs::symlink_status(root / entry.path().relative_path()))) {
            showReadOnly(root, entry.path());
        }
    }
}

// All of /usr. The programs of a frame stand in /usr/local/sbin, where a shell looks first; beside
// them is what the host has there, such as the daemon.
void showUsr(const fs::path& root) {
    for (const char* directory : {"/usr", "/usr/local", "/usr/local/sbin"}) {
        showEntries(root, directory);
    }
}

void makeDevices(const fs::path& root) {
    for (const char* device : kDevices) {
        showDevice(root, device);
    }
    for (const auto& [name, target] : kDeviceLinks) {
        fs::create_symlink(target, root / "dev" / name);
    }
}

// A container that hides parts of /proc may mount no second one; the host's then serves, in which
// "self" is right and numbers are the host's.
bool mountProcesses(const fs::path& target, const HostMount& hostProcesses) {
    fs::create_directories(target);
    if (::mount("proc", target.c_str(), "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0) {
        return true;
    }
    hostProcesses.appearAt(target);
    return false;
}

void linkEntries(const fs::path& from, const fs::path& seenAs, const fs::path& to) {
    for (const auto& entry : fs::directory_iterator(from)) {
        const fs::path name = entry.path().filename();
        const bool numbered = std::isdigit(static_cast<unsigned char>(name.native()[0])) != 0;
        if (!numbered && !fs::exists(fs::symlink_status(to / name))) {
            fs::create_symlink(seenAs / name, to / name);
        }
    }
}

// Another process that enters may be making the same links.
void linkNumbers(const fs::path& to, int first, int last) {
    for (int number = first; number <= last; ++number) {
        const std::string name = std::to_string(number);
        std::error_code there;
        fs::create_symlink(fs::path(kProcesses) / name, to / name, there);
    }
}

bool isLinked(int number) {
    return fs::is_symlink(fs::symlink_status("/proc/" + std::to_string(number)));
}

// The kernel's /proc cannot be given a bonding file, so the frame's is a directory of links to it
// that has one. Numbers are linked ahead of the processes.
void makeProcesses(const fs::path& root, const HostMount& hostProcesses) {
    const fs::path processes = root / fs::path(kProcesses).relative_path();
    const bool own = mountProcesses(processes, hostProcesses);
    linkEntries(processes, kProcesses, root / "proc");
    linkEntries(processes / "self/net", fs::path(kProcesses) / "self/net", root / "proc/net");
    if (own) {
        linkNumbers(root / "proc", 1, kFewProcesses);
    }
}

void showOwnProgram(const fs::path& root, const HostMount& program) {
    const fs::path target = root / fs::path(simulation::paths::kProgram).relative_path();
    makePlace(target, false);
    // Every program of the frame is this file; a change to one must not reach the host's file.
    program.makeReadOnly();
    program.appearAt(target);
}

// The old root lands on top of the new one and is unmounted (pivot_root(2), "pivot_root(".",
// ".")").
void changeRoot(const fs::path& root) {
    check(::chdir(root.c_str()), root);
    check(::syscall(SYS_pivot_root, ".", "."), "cannot enter " + root.string());
    check(::umount2(".", MNT_DETACH), "cannot leave the host's root");
    check(::chdir("/"), "/");
}

}  // namespace

void enterRoot(const simulation::Product& product, const std::string& directory) {
    const fs::path workingDirectory = fs::current_path();
    const fs::path program = fs::read_symlink("/proc/self/exe");
    const std::vector<HostMount> places = projectPlaces();
    const HostMount hostProcesses("/proc");
    const HostMount ownProgram(program);

    const fs::path root = mountRoot(directory);
    ::umask(022);
    simulation::populate(simulation::FrameRoot(root), product);
    fs::permissions(root / "tmp", fs::perms::all | fs::perms::sticky_bit);
    for (const char* part : kHostParts) {
        showReadOnly(root, part);
    }
    showUsr(root);
    makeDevices(root);
    makeProcesses(root, hostProcesses);
    showOwnProgram(root, ownProgram);
    showPlaces(root, places);
    changeRoot(root);
    if (::chdir(workingDirectory.c_str()) != 0) {
        check(::chdir("/"), "/");
    }
}

void showManyProcesses() {
    // Not where the host's processes stand in for the frame's, and once only.
    if (isLinked(kFewProcesses) && !isLinked(kFewProcesses + 1)) {
        linkNumbers("/proc", kFewProcesses + 1, kManyProcesses);
    }
}

}  // namespace pallframe::sandbox
