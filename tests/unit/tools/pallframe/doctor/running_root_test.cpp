#include "pallframe/doctor/running_root.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>

#include <fstream>
#include <iterator>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"

using namespace pallframe::doctor;
using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

namespace {

constexpr const char* kHeading =
    "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid\n";

// A table with a socket at that address; the kernel writes addresses in the machine's own order.
std::string formatTable(const std::string& local, const std::string& state) {
    return std::string(kHeading) + "   0: 0100007F:3A97 00000000:0000 0A 00000000:00000000\n" +
           "   1: " + local + " 00000000:0000 " + state + " 00000000:00000000\n";
}

class OnLittleEndian : public testing::Test {
  protected:
    void SetUp() override {
        if (htonl(1) == 1) {
            GTEST_SKIP() << "the tables below are of another kind of machine";
        }
    }
};

TEST_F(OnLittleEndian, AListenerIsOneThatLoopbackReaches) {
    for (const char* local :
         {"0100007F:3A98", "00000000:3A98", "00000000000000000000000000000000:3A98",
          "0000000000000000FFFF00000100007F:3A98"}) {
        EXPECT_TRUE(hasListener(formatTable(local, "0A"), 15000)) << local;
    }
    for (const char* local : {"0100A8C0:3A98", "0200007F:3A98", "0100007F:3A99",
                              "00000000000000000000000001000000:3A98", "0100007F", ":3A98"}) {
        EXPECT_FALSE(hasListener(formatTable(local, "0A"), 15000)) << local;
    }
}

TEST_F(OnLittleEndian, AConnectionToThatPortListensToNothing) {
    EXPECT_FALSE(hasListener(formatTable("0100007F:3A98", "01"), 15000)) << "established";
    EXPECT_FALSE(hasListener(formatTable("0100007F:3A98", "06"), 15000)) << "waits for its end";
    EXPECT_FALSE(hasListener("", 15000));
    EXPECT_FALSE(hasListener(kHeading, 15000));
}

// A socket on a port of 127.0.0.1 that the kernel chose.
class OwnListener : public testing::Test {
  protected:
    OwnListener() {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof(address);
        auto* const any = reinterpret_cast<sockaddr*>(&address);
        check(::bind(socket.get(), any, size), "bind");
        check(::getsockname(socket.get(), any, &size), "getsockname");
        port = ntohs(address.sin_port);
    }

    static std::string table() {
        std::ifstream stream("/proc/self/net/tcp");
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    const Descriptor socket{check(::socket(AF_INET, SOCK_STREAM, 0), "socket")};
    uint16_t port = 0;
};

TEST_F(OwnListener, IsFoundInWhatTheKernelTells) {
    EXPECT_FALSE(hasListener(table(), port)) << "bound, and does not listen yet";
    check(::listen(socket.get(), 1), "listen");
    EXPECT_TRUE(hasListener(table(), port));
}

Descriptor opened(const std::string& directory) {
    return Descriptor(check(::open(directory.c_str(), O_PATH | O_CLOEXEC), directory));
}

TEST(ProcessIn, IsThisOneForItsOwnRoot) {
    EXPECT_EQ(processIn(opened("/")), "/proc/self");
    EXPECT_EQ(processIn(opened("/proc/self/root")), "/proc/self");
}

TEST(ProcessIn, IsEmptyForADirectoryThatIsNotARunningRoot) {
    const TemporaryDirectory directory;
    EXPECT_EQ(processIn(opened(directory.path())), "");
}

}  // namespace
