// The whole service, in this process and in a network of its own: the address of the bus is fixed.

#include "service/pallwatch_service.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>
#include <thread>

#include "bus/netstring.h"
#include "service_fixture.h"
#include "util/files.h"

namespace pallwatch {

namespace {

using util::UniqueDescriptor;

constexpr std::uint16_t kBusPort = 15000;

// The calling process, which must have one thread, leaves the network that it shares with others.
void enterNetworkOfItsOwn() {
    const int namespaces = CLONE_NEWNET | (geteuid() == 0 ? 0 : CLONE_NEWUSER);
    ASSERT_EQ(0, unshare(namespaces)) << std::strerror(errno);
    const UniqueDescriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    ifreq loopback = {};
    std::strcpy(loopback.ifr_name, "lo");
    loopback.ifr_flags = IFF_UP;
    ASSERT_EQ(0, ioctl(socket.get(), SIOCSIFFLAGS, &loopback)) << std::strerror(errno);
}

// The bus: one connection, read and written by one thread, with blocking calls.
class Bus {
  public:
    Bus() {
        sockaddr_in here = {};
        here.sin_family = AF_INET;
        here.sin_port = htons(kBusPort);
        here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(0, bind(listener_.get(), reinterpret_cast<sockaddr*>(&here), sizeof here));
        EXPECT_EQ(0, listen(listener_.get(), 1));
    }

    void accept() {
        connection_.emplace(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    }

    // Everything received so far when it holds `text`; what came until the end of the connection
    // when it never does.
    std::string receiveUntil(const std::string& text) {
        char bytes[4096];
        ssize_t count = 1;
        while (received_.find(text) == std::string::npos && count > 0) {
            count = recv(connection_->get(), bytes, sizeof bytes, 0);
            received_.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        }
        return received_;
    }

    void send(const std::string& payload) const {
        const std::string bytes = lumo::encodeNetString(payload);
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()),
                  ::send(connection_->get(), bytes.data(), bytes.size(), MSG_NOSIGNAL));
    }

  private:
    UniqueDescriptor listener_{socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
    std::optional<UniqueDescriptor> connection_;
    std::string received_;
};

class PallwatchServiceTest : public ServiceFixture {
  protected:
    void SetUp() override {
        enterNetworkOfItsOwn();
        start("QuoraneBrio", "frameB");
        bus.emplace();
    }

    // Runs the service until `talk` has ended, which has the bus to itself, and gives what the
    // service printed.
    template <typename Talk>
    std::string run(Talk talk) {
        testing::internal::CaptureStdout();
        PallwatchService service(&state(), machine_, "frameB");
        service.setOnConnectionState(
            [this](lumo::ConnectionState state) { states.push_back(state); });
        std::thread peer([this, &talk] {
            bus->accept();
            talk();
            kill(getpid(), SIGTERM);
        });
        service.run();
        peer.join();
        return testing::internal::GetCapturedStdout();
    }

    std::optional<Bus> bus;
    std::vector<lumo::ConnectionState> states;
};

TEST_F(PallwatchServiceTest, LogsInSubscribesAndAnnouncesItsName) {
    const std::string printed = run([this] { bus->receiveUntil(R"("frameName":"QuoraneBrio")"); });
    EXPECT_NE(std::string::npos, printed.find("run added subscription to: frameB.system\n"));
    EXPECT_NE(std::string::npos, printed.find("Pallwatch caught signal:15 (ec: Success)"));
    ASSERT_FALSE(states.empty());
    EXPECT_EQ(lumo::ConnectionState::connected, states.front());
}

TEST_F(PallwatchServiceTest, AnswersEachOfItsThreeNamesAndNoOther) {
    std::string sent;
    run([this, &sent] {
        int id = 0;
        for (const char* const name : {"system", "frameB.system", "other", ""}) {
            bus->send(std::string(R"(["GET", ")") + name + R"(", 5, 0, 0])" + "\n" + R"({"id":"q)" +
                      std::to_string(id++) +
                      R"(@x","paramDescriptor":{"objectName":["systemName"]}})");
        }
        bus->send(std::string(R"(["GET", "system", 5, 0, 0])") + "\n" +
                  R"({"id":"last@x","param":{"objectName":["active"]}})");
        sent = bus->receiveUntil("last@x");
    });
    EXPECT_NE(std::string::npos, sent.find("q0@x"));
    EXPECT_NE(std::string::npos, sent.find("q1@x"));
    EXPECT_EQ(std::string::npos, sent.find("q2@x"));
    EXPECT_EQ(std::string::npos, sent.find("q3@x")) << "a prefix was given";
}

TEST_F(PallwatchServiceTest, SetsSavesAndAnnounces) {
    std::string sent;
    run([this, &sent] {
        bus->send(std::string(R"(["SET", "system", 5, 0, 0])") + "\n" +
                  R"({"id":"set@x","param":{"systemName":"Studio"}})");
        sent = bus->receiveUntil("set@x");
    });
    EXPECT_LT(sent.find(R"("systemName":"Studio")"), sent.find("set@x"));
    EXPECT_NE(std::string::npos, root_.read("/vantor/etc/state.json").find("Studio"));
}

TEST_F(PallwatchServiceTest, TakesTheDetailsOfTheControllerPair) {
    std::string sent;
    run([this, &sent] {
        bus->receiveUntil(R"("frameName")");
        bus->send(std::string(R"(["RSP", "system", 0, 8, 0])") + "\n" +
                  R"({"param":{"kelMasterSystemDetails":{"primary":{"ipAddress":"10.1.1.1",)"
                  R"("present":true,"active":true,"version":"1.0"},"secondary":{"ipAddress":"",)"
                  R"("present":false,"active":false,"version":""}}}})");
        sent = bus->receiveUntil(R"("primaryIPAddress":"10.1.1.1")");
    });
    EXPECT_NE(std::string::npos, sent.find(R"("primaryIPAddress":"10.1.1.1")"));
}

}  // namespace

}  // namespace pallwatch
