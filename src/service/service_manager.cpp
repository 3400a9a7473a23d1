#include "service/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include "util/files.h"

namespace pallwatch {

namespace {

constexpr const char* kSocketVariable = "NOTIFY_SOCKET";

bool isAddress(std::string_view text) {
    return text.size() > 1 && text.size() < sizeof(sockaddr_un::sun_path) &&
           (text.front() == '/' || text.front() == '@');
}

}  // namespace

ServiceManager ServiceManager::fromEnvironment() {
    const char* const address = std::getenv(kSocketVariable);
    ServiceManager manager(address != nullptr ? address : "");
    unsetenv(kSocketVariable);
    return manager;
}

ServiceManager::ServiceManager(std::string address)
    : address_(isAddress(address) ? std::move(address) : std::string()) {}

// A socket for each datagram: a manager that was restarted listens at the same address, and nothing
// is held open for one that is away.
void ServiceManager::notify(std::string_view state) const {
    if (address_.empty()) {
        return;
    }
    const util::UniqueDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!socket) {
        return;
    }
    sockaddr_un to = {};
    to.sun_family = AF_UNIX;
    std::copy(address_.begin(), address_.end(), to.sun_path);
    if (to.sun_path[0] == '@') {
        to.sun_path[0] = '\0';
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + address_.size());
    static_cast<void>(::sendto(socket.get(), state.data(), state.size(),
                               MSG_DONTWAIT | MSG_NOSIGNAL, reinterpret_cast<sockaddr*>(&to),
                               size));
}

}  // namespace pallwatch
