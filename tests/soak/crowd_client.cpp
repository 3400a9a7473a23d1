#include "soaking/crowd_client.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <stdexcept>

#include "soaking/answers.h"
#include "soaking/bus.h"

namespace soak {

using pallframe::simulation::Descriptor;
using std::chrono::milliseconds;

namespace {

constexpr milliseconds kBetweenAttempts{200};
constexpr milliseconds kPatience{3000};
constexpr const char* kConnectionObject = "system.connection";

}  // namespace

CrowdClient::CrowdClient(int connectionID) : connectionID_(connectionID) {
    parser_.setOnMessage([this](auto payload) { handle(std::move(payload)); });
}

void CrowdClient::step(uint16_t port, Clock::time_point now) {
    if (ready_ || now < next_) {
        return;
    }
    if (descriptor() >= 0) {
        lose(now);
    } else {
        connect(port, now);
    }
}

void CrowdClient::connect(uint16_t port, Clock::time_point now) {
    next_ = now + kBetweenAttempts;
    Descriptor socket(
        pallframe::simulation::check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return;
    }
    const int on = 1;
    ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    socket_ = std::move(socket);
    parser_.reset();
    ++line_.connections;
    next_ = now + kPatience;
    introduce();
}

void CrowdClient::introduce() {
    sendFrame("SET", kConnectionObject,
              R"({"id":"login","param":{"login":{"name":"soak","connID":)" +
                  std::to_string(connectionID_) + R"(,"version":1}}})");
    sendFrame("SET", kConnectionObject,
              R"({"id":"subscribe","param":{"subscribeList":[{"path":"system"}]}})");
}

// What was under way is not answered any more, and the books know that this is allowed only in
// trouble.
void CrowdClient::lose(Clock::time_point now) {
    socket_.close();
    ready_ = false;
    next_ = now + kBetweenAttempts;
    ledger_.giveUpOn(Clock::time_point::max());
}

void CrowdClient::send(Request request, Clock::time_point now) {
    const std::string type = request.type;
    const std::string data = request.data;
    ledger_.sent(std::move(request), now);
    sendFrame(type, "system", data);
}

// A bus that reads nothing for longer than the kernel has room shows as a lost answer.
void CrowdClient::sendFrame(const std::string& type, const std::string& object,
                            const std::string& data) {
    const std::string bytes = Bus::frame(type, object, connectionID_, 0, data);
    ::send(descriptor(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void CrowdClient::receive(Clock::time_point now) {
    std::array<char, 65536> bytes;
    const ssize_t size = ::recv(descriptor(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (size > 0) {
        parser_.feed(bytes.data(), static_cast<size_t>(size));
    } else if (size == 0 || errno != EAGAIN) {
        lose(now);
    }
}

void CrowdClient::handle(std::unique_ptr<std::vector<char>> payload) try {
    handleMessage(TarnInternalMessage(std::move(payload)));
} catch (const std::runtime_error&) {
    ++line_.damaged;
}

void CrowdClient::handleMessage(const TarnInternalMessage& message) {
    if (message.objectName() == kConnectionObject) {
        ready_ = ready_ || (message.uniqueId() == "subscribe" && message.statusCode() == 200);
    } else if (message.type() == MessageType::RSP) {
        ledger_.answered(answerOf(message));
    } else if (message.type() != MessageType::NOT) {
        ++line_.overheard;
    } else if (const cJSON* const item = carried(message)) {
        ledger_.notified(item->string, util::renderJSON(item, false));
    }
}

}  // namespace soak
