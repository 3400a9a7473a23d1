// The daemon under a service manager that it tells its state, as sd_notify(3) describes. The test
// is the manager.

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>

#include "harness/deadline.h"
#include "harness/held_program.h"
#include "on_bus.h"
#include "pallframe/simulation/bonding.h"
#include "unit_directives.h"

using namespace harness;

namespace {

constexpr const char* kSocket = "/tmp/notify";
constexpr const char* kReport = "/vantor/bin/briskel";

class NotifySocket {
  public:
    NotifySocket() {
        sockaddr_un here = {};
        here.sun_family = AF_UNIX;
        std::string_view(kSocket).copy(here.sun_path, sizeof here.sun_path - 1);
        unlink(kSocket);
        EXPECT_EQ(0, bind(socket_.get(), reinterpret_cast<sockaddr*>(&here), sizeof here));
    }

    // The next datagram; waits for it.
    std::string next(const Deadline& deadline = Deadline()) const {
        waitReadable(socket_.get(), deadline, "a datagram for the service manager");
        return *take();
    }

    // Gives how many there were to drop.
    std::size_t drop() const {
        std::size_t count = 0;
        while (take()) {
            ++count;
        }
        return count;
    }

  private:
    std::optional<std::string> take() const {
        char text[64];
        const ssize_t size = recv(socket_.get(), text, sizeof text, MSG_DONTWAIT);
        return size < 0 ? std::nullopt
                        : std::optional(std::string(text, static_cast<std::size_t>(size)));
    }

    pallframe::simulation::Descriptor socket_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

class UnderAServiceManager : public OnBus {
  protected:
    UnderAServiceManager() : OnBus("Quorane") { setenv("NOTIFY_SOCKET", kSocket, 1); }
    ~UnderAServiceManager() override { unsetenv("NOTIFY_SOCKET"); }

    NotifySocket manager;
};

TEST_F(UnderAServiceManager, TheDaemonIsReadyThenAliveOnEachPollAndStoppingAtItsEnd) {
    start();
    EXPECT_EQ(manager.next(), "READY=1");
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
    daemon->signal(SIGTERM);
    std::string last = manager.next();
    while (last == "WATCHDOG=1") {
        last = manager.next();
    }
    EXPECT_EQ(last, "STOPPING=1");
    EXPECT_EQ(daemon->waitForEnd(), 0);
    EXPECT_EQ(manager.drop(), 0U);
}

TEST_F(UnderAServiceManager, TheDaemonIsNotReadyBeforeItsStartCommandsHaveEnded) {
    const HeldProgram dropbear(frame, "/etc/init.d/S50dropbear");
    daemon.emplace();
    dropbear.waitForCalls(1);
    EXPECT_EQ(manager.drop(), 0U);
    dropbear.release();
    EXPECT_EQ(manager.next(), "READY=1");
}

TEST_F(UnderAServiceManager, TheDaemonIsAliveWhileACommandRuns) {
    const HeldProgram report(frame, kReport);
    start();
    set(R"({"generateReport":1})");
    report.waitForCalls(1);
    manager.drop();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(manager.next(), "WATCHDOG=1");
    }
    report.release();
}

TEST_F(UnderAServiceManager, NoCommandOfTheDaemonHasTheSocket) {
    frame.writeProgram(kReport, "#!/bin/sh\nenv >/tmp/environment\n");
    start();
    set(R"({"generateReport":1})");
    waitUntil([this] { return frame.read("/tmp/environment").find("PATH=") != std::string::npos; },
              "the command's environment");
    EXPECT_EQ(frame.read("/tmp/environment").find("NOTIFY_SOCKET"), std::string::npos);
}

std::chrono::seconds watchdogTime() {
    return std::chrono::seconds(std::stoi(outside::readDirective("WatchdogSec")));
}

TEST_F(UnderAServiceManager, TheDaemonReportsAtLeastThreeTimesInTheWatchdogTimeOfItsUnit) {
    start();
    EXPECT_EQ(manager.next(), "READY=1");
    const Deadline watchdog(watchdogTime());
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(manager.next(watchdog), "WATCHDOG=1");
    }
}

// A tenth of the watchdog's time is three times the daemon's interval.
TEST_F(UnderAServiceManager, AStoppedDaemonIsNotAliveUntilItContinues) {
    start();
    EXPECT_EQ(manager.next(), "READY=1");
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
    daemon->signal(SIGSTOP);
    siginfo_t stopped = {};
    EXPECT_EQ(0, waitid(P_PID, static_cast<id_t>(daemon->pid()), &stopped, WSTOPPED));
    manager.drop();
    EXPECT_THROW(manager.next(Deadline(watchdogTime() / 10)), TimedOut);
    daemon->signal(SIGCONT);
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
}

// Holds the daemon's main thread, and no other, by means of ptrace(2).
class HeldMainThread {
  public:
    explicit HeldMainThread(pid_t daemon) : thread_(daemon) {
        EXPECT_EQ(0, ptrace(PTRACE_SEIZE, thread_, nullptr, nullptr));
        EXPECT_EQ(0, ptrace(PTRACE_INTERRUPT, thread_, nullptr, nullptr));
        EXPECT_EQ(thread_, waitpid(thread_, nullptr, __WALL));
    }
    ~HeldMainThread() { ptrace(PTRACE_DETACH, thread_, nullptr, nullptr); }
    HeldMainThread(const HeldMainThread&) = delete;
    HeldMainThread& operator=(const HeldMainThread&) = delete;

  private:
    const pid_t thread_;
};

class UnderAServiceManagerWithAHeldLoop : public UnderAServiceManager {
  protected:
    // Waits for a poll that began after this call.
    void waitForPoll() {
        cable_ = !cable_;
        pallframe::simulation::setCable(frame.tree(), "eth1", cable_);
        log.waitFor("ETHERNET STATUS CHANGED : eth1");
    }

  private:
    bool cable_ = true;
};

TEST_F(UnderAServiceManagerWithAHeldLoop, TheDaemonIsNotAliveThoughItsPollGoesOn) {
    start();
    log.waitFor("ETHERNET STATUS CHANGED : eth1");
    {
        const HeldMainThread held(daemon->pid());
        waitForPoll();  // its question to the loop stays without an answer
        waitForPoll();
        manager.drop();
        waitForPoll();
        waitForPoll();
        EXPECT_EQ(manager.drop(), 0U);
    }
    EXPECT_EQ(manager.next(), "WATCHDOG=1");
}

}  // namespace
