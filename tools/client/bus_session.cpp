// The socket does not block; every call waits in poll(2) for the socket, the output and a
// descriptor to end with. Received chunks are split into payloads, which wait in received_. A
// heartbeat that no message follows in time ends the connection.

#include "client/bus_session.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

#include "bus/messages.h"
#include "bus/netstring.h"

namespace client {

namespace {

using namespace std::chrono_literals;

constexpr const char* kConnectionObject = "system.connection";
constexpr auto kSendTimeout = 5s;
constexpr size_t kChunk = 65536;

util::UniqueJSON loginParam(int32_t connectionID) {
    util::UniqueJSON login = util::jsonObject();
    util::addMember(login.get(), "name", util::jsonString("pallctl"));
    util::addMember(login.get(), "connID", util::jsonNumber(connectionID));
    util::addMember(login.get(), "version", util::jsonNumber(1));
    util::UniqueJSON param = util::jsonObject();
    util::addMember(param.get(), "login", std::move(login));
    return param;
}

util::UniqueJSON subscribeParam(const std::string& path, bool receiveAll) {
    util::UniqueJSON entry = util::jsonObject();
    util::addMember(entry.get(), "path", util::jsonString(path));
    if (receiveAll) {
        util::addMember(entry.get(), "receiveAll", util::jsonBool(true));
    }
    util::UniqueJSON list = util::jsonArray();
    util::addElement(list.get(), std::move(entry));
    util::UniqueJSON param = util::jsonObject();
    util::addMember(param.get(), "subscribeList", std::move(list));
    return param;
}

}  // namespace

int pollTime(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, INT_MAX));
}

BusSession::BusSession(uint16_t port, int32_t connectionID, int output, Heartbeat heartbeat)
    : port_(port), connectionID_(connectionID), output_(output), heartbeat_(heartbeat) {
    parser_.setOnMessage([this](Payload payload) { received_.push_back(std::move(payload)); });
    parser_.setOnFramingError([this](std::string_view) { onFramingError_(); });
}

bool BusSession::open(Deadline deadline) {
    close();
    if (!connect(deadline)) {
        return false;
    }
    nextHeartbeat_ = Clock::now() + heartbeat_.period;
    silentSince_.reset();
    SETMessage login(kConnectionObject, loginParam(connectionID_));
    queue(login);
    return true;
}

void BusSession::close() {
    socket_.close();
    isAlive_ = false;
    parser_.reset();
    received_.clear();
    sendBuffer_.clear();
}

void BusSession::subscribe(const std::string& path, bool receiveAll) {
    SETMessage list(kConnectionObject, subscribeParam(path, receiveAll));
    queue(list);
}

bool BusSession::connect(Deadline deadline) {
    socket_ =
        util::UniqueDescriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    ::setsockopt(socket_.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port_);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    sockaddr generic{};
    std::memcpy(&generic, &address, sizeof generic);
    if (::connect(socket_.get(), &generic, sizeof generic) == 0) {
        return true;
    }
    if (errno != EINPROGRESS) {
        return fail("connect", errno);
    }
    if (const Waited waited = waitFor(POLLOUT, deadline); waited != Waited::ready) {
        return fail("connect", toErrno(waited));
    }
    int error = 0;
    socklen_t size = sizeof error;
    ::getsockopt(socket_.get(), SOL_SOCKET, SO_ERROR, &error, &size);
    return error == 0 || fail("connect", error);
}

void BusSession::queue(TarnInternalMessage& message) {
    message.header().source = connectionID_;
    sendBuffer_ += lumo::encodeNetString(message.encode());
}

bool BusSession::flush() {
    const std::string bytes = std::exchange(sendBuffer_, {});
    const Deadline deadline = Clock::now() + kSendTimeout;
    for (size_t sent = 0; isOpen() && sent < bytes.size();) {
        const ssize_t size = ::send(socket_.get(), bytes.data() + sent, bytes.size() - sent,
                                    MSG_NOSIGNAL | MSG_DONTWAIT);
        if (size >= 0) {
            sent += static_cast<size_t>(size);
        } else if (errno != EAGAIN) {
            return fail("send", errno);
        } else if (const Waited waited = waitFor(POLLOUT, deadline); waited != Waited::ready) {
            return fail("send", toErrno(waited));
        }
    }
    return isOpen();
}

std::optional<TarnInternalMessage> BusSession::receive(Deadline deadline) {
    while (Payload payload = receivePayload(deadline)) {
        if (auto message = TarnInternalMessage::tryDecode(std::move(payload))) {
            return message;
        }
    }
    return std::nullopt;
}

BusSession::Payload BusSession::receivePayload(Deadline deadline) {
    keepAlive();
    // At least once: a deadline that has passed requests what has arrived.
    do {
        waitForChunk(deadline);
    } while (received_.empty() && isOpen() && !outputGone_ && Clock::now() < deadline);
    if (received_.empty()) {
        return nullptr;
    }
    Payload payload = std::move(received_.front());
    received_.pop_front();
    return payload;
}

void BusSession::waitForChunk(Deadline deadline) {
    if (!received_.empty() || !isOpen()) {
        return;
    }
    const Waited waited = waitFor(POLLIN, std::min(deadline, nextHeartbeat_));
    if (waited == Waited::ready) {
        readChunk();
    } else if (waited == Waited::failed) {
        fail("receive", toErrno(waited));
    } else if (silentSince_ && Clock::now() - *silentSince_ >= heartbeat_.timeout) {
        // Only now: a process that did not run for a while finds the answers waiting.
        fail("receive", ETIMEDOUT);
    }
    keepAlive();
}

void BusSession::keepAlive() {
    const Deadline now = Clock::now();
    if (!isOpen() || now < nextHeartbeat_) {
        return;
    }
    nextHeartbeat_ = now + heartbeat_.period;
    silentSince_ = silentSince_.value_or(now);
    SETMessage heartbeat("", nullptr);
    queue(heartbeat);
    flush();
}

void BusSession::pause(Deadline deadline) {
    waitForAny(-1, 0, deadline);
}

BusSession::Waited BusSession::waitFor(short events, Deadline deadline) {
    return waitForAny(socket_.get(), events, deadline);
}

// The other descriptors take precedence.
BusSession::Waited BusSession::waitForAny(int socket, short events, Deadline deadline) {
    std::array<pollfd, 3> watched{{{socket, events, 0}, {output_, 0, 0}, {end_, POLLIN, 0}}};
    int ready = 0;
    do {
        ready = ::poll(watched.data(), watched.size(), pollTime(deadline));
    } while (ready < 0 && errno == EINTR);
    const bool isOver = watched[1].revents != 0 || watched[2].revents != 0;
    outputGone_ = outputGone_ || (ready > 0 && isOver);
    if (outputGone_) {
        return Waited::outputGone;
    }
    if (ready < 0) {
        return Waited::failed;
    }
    return ready > 0 ? Waited::ready : Waited::timedOut;
}

// To be called directly after the wait, whose errno it may return.
int BusSession::toErrno(Waited waited) {
    switch (waited) {
        case Waited::timedOut:
            return ETIMEDOUT;
        case Waited::outputGone:
            return EPIPE;
        default:
            return errno;
    }
}

void BusSession::readChunk() {
    std::array<char, kChunk> chunk;
    const ssize_t size = ::recv(socket_.get(), chunk.data(), chunk.size(), MSG_DONTWAIT);
    if (size > 0) {
        silentSince_.reset();
        isAlive_ = true;
        parser_.feed(chunk.data(), static_cast<size_t>(size));
    } else if (size == 0 || (errno != EAGAIN && errno != EINTR)) {
        fail("receive", size == 0 ? ECONNRESET : errno);
    }
}

bool BusSession::fail(const char* what, int error) {
    errorText_ = std::string(what) + ": " + std::strerror(error);
    // Messages that have arrived are still valid.
    socket_.close();
    return false;
}

}  // namespace client
