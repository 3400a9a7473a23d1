// Three processes form a chain in which each dies with the one before: the caller; the cleanup
// process (superviseFrame), which stays outside the frame and removes the directory even when the
// caller is killed; and process 1 of the frame (runInit), whose end makes the kernel end all others
// in it. Process 1 also writes the system log of the frame.

#include "pallframe/sandbox/run_in_frame.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>

#include "pallframe/sandbox/frame_process.h"
#include "pallframe/sandbox/frame_registry.h"
#include "pallframe/sandbox/namespaces.h"
#include "pallframe/sandbox/rootfs.h"
#include "pallframe/sandbox/supervisor.h"
#include "pallframe/simulation/frame_paths.h"
#include "pallframe/simulation/stub_programs.h"

namespace pallframe::sandbox {

namespace {

using simulation::check;
using simulation::Descriptor;

constexpr std::chrono::seconds kTimeout{3};

void removeDirectory(const RunRequest& request) {
    if (!request.directory.empty() && !request.keep) {
        std::error_code ignored;
        std::filesystem::remove_all(request.directory, ignored);
    }
}

// Checked before the command starts, so that an invalid scenario changes nothing. Ends with the
// frame at the latest.
void startScenario(const RunRequest& request) {
    if (!request.scenario.steps.empty()) {
        simulation::checkScenario(simulation::FrameRoot("/"), request.scenario.steps,
                                  request.scenario.file);
        startProcess([&] {
            simulation::play(simulation::FrameRoot("/"), request.scenario, 1,
                             [](const simulation::ScenarioStep&) {});
            return 0;
        });
    }
}

// Has to run while the host's /proc is visible: inside, this process has number 1.
void setNumberVariable() {
    ::setenv(kNumberVariable, std::filesystem::read_symlink("/proc/self").c_str(), 1);
}

// The small system log of a frame: writes each message that programs send to /dev/log,
// "<priority>" first, as one line of a file. Lives in process 1 of the frame.
class SyslogFile {
  public:
    // Binds the socket and opens the file for appending; throws std::system_error.
    explicit SyslogFile(const std::string& file)
        : socket_(check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0), "socket")),
          file_(
              check(::open(file.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644), file)) {
        const sockaddr_un address{AF_UNIX, "/dev/log"};
        check(::bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
              address.sun_path);
        check(::chmod(address.sun_path, 0666), address.sun_path);
    }

    int descriptor() const { return socket_.get(); }  // readable when a message waits

    // Writes all messages that wait.
    void takeAll() const {
        std::array<char, 65536> buffer{};
        ssize_t size = 0;
        while ((size = ::recv(socket_.get(), buffer.data(), buffer.size(), 0)) >= 0) {
            std::string line(buffer.data(), static_cast<size_t>(size));
            line.erase(line.find_last_not_of(std::string("\n\0", 2)) + 1);
            std::ranges::replace(line, '\n', ' ');
            line += '\n';
            // A full disk loses log lines, nothing else.
            [[maybe_unused]] const auto written = ::write(file_.get(), line.data(), line.size());
        }
    }

  private:
    Descriptor socket_;
    Descriptor file_;
};

// Process 1 of the frame.
int runInit(const RunRequest& request, Supervisor& supervisor, const Descriptor& cleanup) {
    dieWith(cleanup, SIGKILL);
    setNumberVariable();
    unshareMounts();
    enableLoopback();
    enterRoot(*request.product, request.directory);
    std::optional<SyslogFile> log;
    if (request.syslog) {
        log.emplace(std::string(simulation::paths::kMessages));
        supervisor.serve(log->descriptor(), [&log] { log->takeAll(); });
    }
    supervisor.setKillTimeout(kTimeout);
    startScenario(request);
    const pid_t command =
        startSupervised(supervisor, [&] { return becomeCommand(request.command, supervisor); });
    const int status = supervisor.waitFor(command);
    if (log) {
        log->takeAll();
    }
    return status;
}

// Without an entry the frame works, but is not listed.
void registerFrame(const Registry& registry, const RunningFrame& frame) {
    try {
        registry.add(frame);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "pallframe: this frame will not be listed: %s\n", error.what());
    }
}

int superviseFrame(const RunRequest& request, Supervisor& supervisor, const Descriptor& caller) {
    dieWith(caller, Supervisor::kParentDied);
    const Registry registry = Registry::ofUser();
    unshareNamespaces();
    const Descriptor self = watchSelf();
    const pid_t first =
        startSupervised(supervisor, [&] { return runInit(request, supervisor, self); });
    registerFrame(registry, {first, request.directory, simulation::commandLine(request.command)});
    const int status = supervisor.waitFor(first);
    registry.remove(first);
    removeDirectory(request);
    return status;
}

}  // namespace

int runInFrame(const RunRequest& request) {
    if (!request.directory.empty()) {
        check(::mkdir(request.directory.c_str(), 0755),
              "cannot make a frame in " + request.directory);
    }
    searchAsInFrame();
    Supervisor supervisor;
    const Descriptor self = watchSelf();
    const pid_t cleanup =
        startSupervised(supervisor, [&] { return superviseFrame(request, supervisor, self); });
    const int status = supervisor.waitFor(cleanup);
    removeDirectory(request);  // if the cleanup process could not
    return status;
}

}  // namespace pallframe::sandbox
