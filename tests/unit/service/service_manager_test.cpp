#include "service/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "util/files.h"

namespace pallwatch {

namespace {

// The socket of a service manager: gives each datagram as a text, and "" when there is none.
class Listener {
  public:
    explicit Listener(const std::string& address) {
        sockaddr_un here = {};
        here.sun_family = AF_UNIX;
        std::copy(address.begin(), address.end(), here.sun_path);
        if (address.front() == '@') {
            here.sun_path[0] = '\0';
        }
        const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address.size());
        EXPECT_EQ(0, bind(socket_.get(), reinterpret_cast<sockaddr*>(&here), size));
    }

    std::string next() const {
        char text[64];
        const ssize_t size = recv(socket_.get(), text, sizeof text, MSG_DONTWAIT);
        return size < 0 ? "" : std::string(text, static_cast<std::size_t>(size));
    }

  private:
    util::UniqueDescriptor socket_{socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)};
};

TEST(ServiceManager, IsToldEachStateInADatagramOfItsOwn) {
    const TemporaryDirectory directory;
    const Listener listener(directory.path("notify"));
    const ServiceManager manager(directory.path("notify"));
    manager.notifyReady();
    manager.notifyAlive();
    manager.notifyStopping();
    EXPECT_EQ("READY=1", listener.next());
    EXPECT_EQ("WATCHDOG=1", listener.next());
    EXPECT_EQ("STOPPING=1", listener.next());
    EXPECT_EQ("", listener.next());
}

TEST(ServiceManager, IsFoundInTheAbstractNamespace) {
    const TemporaryDirectory directory;
    const std::string name = "@" + directory.path("notify");
    const Listener listener(name);
    ServiceManager(name).notifyReady();
    EXPECT_EQ("READY=1", listener.next());
}

TEST(ServiceManager, IsTakenFromTheEnvironmentSoThatNoCommandSpeaksForTheDaemon) {
    const TemporaryDirectory directory;
    const Listener listener(directory.path("notify"));
    setenv("NOTIFY_SOCKET", directory.path("notify").c_str(), 1);
    const ServiceManager manager = ServiceManager::fromEnvironment();
    EXPECT_EQ(nullptr, std::getenv("NOTIFY_SOCKET"));
    manager.notifyReady();
    EXPECT_EQ("READY=1", listener.next());
}

// None of these may end the process or wait.
TEST(ServiceManager, ThatIsNotThereIsPassedOver) {
    const TemporaryDirectory directory;
    unsetenv("NOTIFY_SOCKET");
    ServiceManager::fromEnvironment().notifyReady();
    for (const std::string& address :
         {std::string(), std::string("relative"), std::string("/"), std::string(200, '/'),
          directory.path("missing"), directory.write("file", "no socket")}) {
        ServiceManager(address).notifyReady();
    }
}

TEST(ServiceManager, ThatDoesNotReadIsNotWaitedFor) {
    const TemporaryDirectory directory;
    const Listener listener(directory.path("notify"));
    const ServiceManager manager(directory.path("notify"));
    manager.notifyReady();
    for (int i = 0; i < 10'000; ++i) {
        manager.notifyAlive();
    }
    EXPECT_EQ("READY=1", listener.next());
}

}  // namespace

}  // namespace pallwatch
