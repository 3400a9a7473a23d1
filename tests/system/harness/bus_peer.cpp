#include "bus_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <array>
#include <charconv>

namespace harness {

namespace {

using frame::check;
using frame::Descriptor;

constexpr int kOtherClient = 5;

using JSON = std::unique_ptr<cJSON, decltype(&cJSON_Delete)>;

JSON parseJSON(const std::string& text) {
    return {cJSON_Parse(text.c_str()), cJSON_Delete};
}

std::string print(const cJSON* item) {
    const std::unique_ptr<char, decltype(&cJSON_free)> text(cJSON_PrintUnformatted(item),
                                                            cJSON_free);
    return text ? text.get() : "";
}

std::string textOf(const cJSON* item) {
    return cJSON_IsString(item) != 0 ? item->valuestring : "";
}

int numberOf(const cJSON* item) {
    return cJSON_IsNumber(item) != 0 ? item->valueint : -1;
}

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

}  // namespace

std::string BusMessage::at(std::initializer_list<const char*> keys) const {
    const JSON tree = parseJSON(data);
    const cJSON* item = tree.get();
    for (const char* key : keys) {
        item = cJSON_GetObjectItemCaseSensitive(item, key);
    }
    return item == nullptr ? "" : print(item);
}

std::string BusMessage::id() const {
    return textOf(cJSON_GetObjectItemCaseSensitive(parseJSON(data).get(), "id"));
}

BusMessage parseBusMessage(std::string_view payload) {
    const size_t lineEnd = payload.find('\n');
    BusMessage message;
    message.header = payload.substr(0, lineEnd);
    const JSON header = parseJSON(message.header);
    if (lineEnd == std::string_view::npos || cJSON_GetArraySize(header.get()) != 5) {
        throw std::runtime_error("no message: " + std::string(payload));
    }
    message.data = payload.substr(lineEnd + 1);
    message.type = textOf(cJSON_GetArrayItem(header.get(), 0));
    message.objectName = textOf(cJSON_GetArrayItem(header.get(), 1));
    message.source = numberOf(cJSON_GetArrayItem(header.get(), 2));
    message.destination = numberOf(cJSON_GetArrayItem(header.get(), 3));
    return message;
}

std::string busFrame(std::string_view payload) {
    return std::to_string(payload.size()).append(":").append(payload).append(";");
}

BusPeer::BusPeer(int port) : port_(port) {
    listen();
}

void BusPeer::listen() {
    listener_ = Descriptor(check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    const int yes = 1;
    ::setsockopt(listener_.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof(yes));
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
    const int yes = 1;
    ::setsockopt(connection_.get(), IPPROTO_TCP, TCP_NODELAY, &yes, sizeof(yes));
}

void BusPeer::close() {
    connection_.close();
    received_.clear();
}

bool BusPeer::fill(const Deadline& deadline) {
    waitReadable(connection_.get(), deadline, "bytes on the bus; there was: '" + received_ + "'");
    std::array<char, 64 * 1024> buffer{};
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
    return parseBusMessage(receivePayload(deadline));
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
