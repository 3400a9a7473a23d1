#include "bus_peer.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <linux/tcp.h>  // netinet/tcp.h knows fewer counters
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <charconv>
#include <fstream>
#include <sstream>

namespace harness {

namespace {

using pallframe::simulation::check;
using pallframe::simulation::Descriptor;

constexpr int kOtherClient = 5;

// Takes one whole frame off the beginning; false when there is none yet.
bool takeFrame(std::string& bytes, std::string& payload) {
    const size_t colon = bytes.find(':');
    if (colon == std::string::npos) {
        return false;
    }
    size_t size = 0;
    const auto [end, error] = std::from_chars(bytes.data(), bytes.data() + colon, size);
    if (error != std::errc() || end != bytes.data() + colon) {
        throw std::runtime_error("no frame: " + bytes);
    }
    if (bytes.size() < colon + 1 + size + 1) {
        return false;
    }
    payload = bytes.substr(colon + 1, size);
    if (bytes[colon + 1 + size] != ';') {
        throw std::runtime_error("a frame that does not end in ';': " + bytes);
    }
    bytes.erase(0, colon + 1 + size + 1);
    return true;
}

void setOption(const Descriptor& socket, int level, int name, int value, const char* what) {
    check(::setsockopt(socket.get(), level, name, &value, sizeof(value)), what);
}

in_port_t portOfOtherEnd(const Descriptor& socket) {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    check(::getpeername(socket.get(), reinterpret_cast<sockaddr*>(&address), &size), "getpeername");
    return ntohs(address.sin_port);
}

// What the kernel holds for the reader of the connection from `local` to `remote`, in bytes: the
// second half of "tx_queue:rx_queue" (proc(5), /proc/net/tcp). -1 when there is no such connection.
long bytesUnread(std::istream& table, in_port_t local, in_port_t remote) {
    const auto portOf = [](const std::string& address) {
        return std::stoul(address.substr(address.find(':') + 1), nullptr, 16);
    };
    std::string line;
    std::getline(table, line);  // the titles
    while (std::getline(table, line)) {
        std::istringstream words(line);
        std::string number, from, to, state, queues;
        words >> number >> from >> to >> state >> queues;
        if (portOf(from) == local && portOf(to) == remote) {
            return std::stol(queues.substr(queues.find(':') + 1), nullptr, 16);
        }
    }
    return -1;
}

}  // namespace

BusPeer::BusPeer(int port) : port_(port) {
    listen();
}

void BusPeer::listen() {
    listener_ = Descriptor(check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    setOption(listener_, SOL_SOCKET, SO_REUSEADDR, 1, "SO_REUSEADDR");
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port_));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    check(::bind(listener_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)),
          "bus port " + std::to_string(port_));
    check(::listen(listener_.get(), 8), "listen");
}

void BusPeer::stopListening() {
    listener_.close();
}

void BusPeer::accept(const Deadline& deadline) {
    close();
    waitReadable(listener_.get(), deadline, "a connection to the bus");
    connection_ =
        Descriptor(check(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC), "accept"));
    setOption(connection_, IPPROTO_TCP, TCP_NODELAY, 1, "TCP_NODELAY");
}

void BusPeer::waitUntilRead(const Deadline& deadline) const {
    const in_port_t daemonsPort = portOfOtherEnd(connection_);
    const auto allRead = [&] {
        int unsent = 0;  // what is sent is with the receiver at once, though not acknowledged yet
        check(::ioctl(connection_.get(), SIOCOUTQNSD, &unsent), "SIOCOUTQNSD");
        std::ifstream table("/proc/net/tcp");
        return unsent == 0 && bytesUnread(table, daemonsPort, ownPort()) <= 0;
    };
    waitUntil(allRead, "the daemon to read", deadline);
}

long BusPeer::unreadBytes(const std::string& connections) const {
    std::istringstream table(connections);
    return bytesUnread(table, ownPort(), portOfOtherEnd(connection_));
}

void BusPeer::acknowledgeLate() const {
    setOption(connection_, IPPROTO_TCP, TCP_QUICKACK, 0, "TCP_QUICKACK");
}

unsigned BusPeer::dataSegments() const {
    tcp_info info{};
    socklen_t size = sizeof(info);
    check(::getsockopt(connection_.get(), IPPROTO_TCP, TCP_INFO, &info, &size), "TCP_INFO");
    return info.tcpi_data_segs_in;
}

void BusPeer::setReceiveBuffer(int bytes) const {
    setOption(listener_, SOL_SOCKET, SO_RCVBUF, bytes, "SO_RCVBUF");
}

void BusPeer::close() {
    connection_.close();
    received_.clear();
}

bool BusPeer::fill(const Deadline& deadline) {
    waitReadable(connection_.get(), deadline, "bytes on the bus; there was: '" + received_ + "'");
    std::array<char, 65536> buffer{};
    const ssize_t size = ::recv(connection_.get(), buffer.data(), buffer.size(), 0);
    if (size <= 0) {
        return false;
    }
    received_.append(buffer.data(), static_cast<size_t>(size));
    return true;
}

std::string BusPeer::receivePayload(const Deadline& deadline) {
    std::string payload;
    while (!takeFrame(received_, payload)) {
        if (!fill(deadline)) {
            throw std::runtime_error("the daemon left the bus; the last bytes: '" + received_ +
                                     "'");
        }
    }
    return payload;
}

BusMessage BusPeer::receive(const Deadline& deadline) {
    BusMessage message = parseBusMessage(receivePayload(deadline));
    while (isIgnored(message)) {
        message = parseBusMessage(receivePayload(deadline));
    }
    return message;
}

bool BusPeer::isIgnored(const BusMessage& message) const {
    return !ignored_.empty() && message.type == "NOT" &&
           !message.at({"param", ignored_.c_str()}).empty();
}

std::vector<BusMessage> BusPeer::receive(size_t count, const Deadline& deadline) {
    std::vector<BusMessage> messages;
    while (messages.size() < count) {
        messages.push_back(receive(deadline));
    }
    return messages;
}

BusMessage BusPeer::waitFor(std::string_view type, std::string_view objectName,
                            const Deadline& deadline) {
    for (;;) {
        BusMessage message = receive(deadline);
        if (message.type == type && message.objectName == objectName) {
            return message;
        }
    }
}

void BusPeer::waitForClose(const Deadline& deadline) {
    while (fill(deadline)) {
        received_.clear();
    }
}

void BusPeer::sendRaw(std::string_view bytes) const {
    while (!bytes.empty()) {
        const auto sent =
            check(::send(connection_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL), "send");
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
}

void BusPeer::send(std::string_view type, std::string_view objectName, int source, int destination,
                   std::string_view data) const {
    std::string payload;
    payload.append("[\"").append(type).append("\", \"").append(objectName).append("\", ");
    payload.append(std::to_string(source)).append(", ").append(std::to_string(destination));
    payload.append(", 0]\n").append(data);
    sendRaw(busFrame(payload));
}

void BusPeer::get(std::string_view objectName, std::string_view data) const {
    send("GET", objectName, kOtherClient, 0, data);
}

void BusPeer::set(std::string_view objectName, std::string_view data) const {
    send("SET", objectName, kOtherClient, 0, data);
}

}  // namespace harness
