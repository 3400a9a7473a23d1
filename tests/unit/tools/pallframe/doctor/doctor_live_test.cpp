// What the doctor says of what only a system that runs has; this machine's root is the one that
// does.

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "frame_to_inspect.h"

using namespace pallframe::doctor;
using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

namespace {

class DoctorOfLife : public FrameToInspect {
  protected:
    // The root of this process, where the tree lies in a directory.
    const RootProbe machine{"/"};

    std::string inMachine(const char* path) const { return tree.path(path); }
};

// A log daemon's socket; nobody is behind it any more once it is closed.
Descriptor socketAt(const std::string& path, int type) {
    Descriptor socket(check(::socket(AF_UNIX, type, 0), "socket"));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    check(::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), path);
    return socket;
}

TEST_F(DoctorOfLife, SkipsItInADirectoryThatIsNotARunningRoot) {
    runAs("KELI");
    for (const char* path : {"127.0.0.1:15000", "/dev/log", "/dev/null"}) {
        EXPECT_EQ(at(path).state, State::notRunning) << path;
        EXPECT_EQ(at(path).reason, "needs a running frame") << path;
        EXPECT_EQ(at(path).effect, "") << path;
    }
    EXPECT_TRUE(diagnosis().isWell());
}

TEST_F(DoctorOfLife, ASystemLogIsASocketWithSomebodyBehindIt) {
    const std::string path = inMachine("/log");
    EXPECT_EQ(machine.syslog(path).state, State::missing);
    Descriptor log = socketAt(path, SOCK_DGRAM);
    EXPECT_EQ(machine.syslog(path).state, State::ok);
    log.close();
    EXPECT_EQ(machine.syslog(path).state, State::unreadable);
    EXPECT_EQ(machine.syslog(path).reason, "Connection refused");
    tree.replace("/log", "");
    EXPECT_EQ(machine.syslog(path).reason, "something else");
}

TEST_F(DoctorOfLife, ASystemLogMayTakeStreams) {
    const Descriptor log = socketAt(inMachine("/log"), SOCK_STREAM);
    EXPECT_EQ(machine.syslog(inMachine("/log")).state, State::ok);
}

TEST_F(DoctorOfLife, ADeviceIsOneOfCharacters) {
    EXPECT_EQ(machine.device("/dev/null").state, State::ok);
    EXPECT_EQ(machine.device(inMachine("/null")).state, State::missing);
    tree.replace("/null", "");
    EXPECT_EQ(machine.device(inMachine("/null")).reason, "something else");
}

TEST_F(DoctorOfLife, NoProgramListensOnAnUnusedPort) {
    EXPECT_EQ(machine.listener(0).state, State::missing);
    EXPECT_EQ(machine.listener(0).reason, "nothing is listening");
}

}  // namespace
