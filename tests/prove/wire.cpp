#include "wire.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <vector>

#include "harness/bus_message.h"

namespace prove {

namespace {

using pallframe::simulation::check;
using pallframe::simulation::Descriptor;
using namespace std::chrono_literals;

constexpr size_t kHead = 400;
constexpr auto kLongestSend = 30s;
constexpr std::string_view kAsk = "ask";

// What stands between `before` and the next quotation mark.
std::string quotedBehind(const std::string& text, std::string_view before) {
    const size_t at = text.find(before);
    if (at == std::string::npos) {
        return {};
    }
    const size_t begin = at + before.size();
    return text.substr(begin, text.find('"', begin) - begin);
}

bool isReady(int descriptor, short what, std::chrono::milliseconds patience) {
    pollfd ready{descriptor, what, 0};
    return ::poll(&ready, 1, static_cast<int>(patience.count())) > 0;
}

bool holdsWithin(std::chrono::milliseconds patience, const auto& condition) {
    const auto end = Wire::Clock::now() + patience;
    while (!condition()) {
        if (Wire::Clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

}  // namespace

Wire::Wire() {
    listen();
    server_ = std::thread([this] {
        while (!ends_) {
            serve();
        }
    });
    asker_ = std::thread([this] {
        while (!ends_) {
            ask();
            std::this_thread::sleep_for(100ms);
        }
    });
}

Wire::~Wire() {
    ends_ = true;
    closeConnection();
    server_.join();
    asker_.join();
}

void Wire::listen() {
    Descriptor listener(check(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket"));
    const int yes = 1;
    ::setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port()));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    check(::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address),
          "bus port");
    check(::listen(listener.get(), 8), "listen");
    const std::lock_guard lock(state_);
    listener_ = std::move(listener);
    hangs_ = false;
}

void Wire::hang() {
    const std::lock_guard lock(state_);
    hangs_ = true;
    check(::listen(listener_.get(), 0), "listen");
}

void Wire::forgetQuestions() {
    const std::lock_guard lock(state_);
    asked_.clear();
}

void Wire::stopListening() {
    const std::lock_guard lock(state_);
    listener_.close();
}

void Wire::closeConnection() {
    const std::lock_guard lock(state_);
    if (connection_.get() >= 0) {
        ::shutdown(connection_.get(), SHUT_RDWR);
    }
}

// One turn of the reading thread, which alone opens and closes connections.
void Wire::serve() {
    int listener = -1;
    {
        const std::lock_guard lock(state_);
        listener = listener_.get();
    }
    if (connection_.get() < 0) {
        if (hangs_ || listener < 0 || !isReady(listener, POLLIN, 20ms) || takeConnection() < 0) {
            std::this_thread::sleep_for(2ms);
        }
        return;
    }
    if (!reads_ || !isReady(connection_.get(), POLLIN, 20ms)) {
        std::this_thread::sleep_for(2ms);
        return;
    }
    static thread_local std::array<char, 1 << 18> buffer;
    const ssize_t size = ::recv(connection_.get(), buffer.data(), buffer.size(), 0);
    size > 0 ? take({buffer.data(), static_cast<size_t>(size)}) : dropConnection();
}

int Wire::takeConnection() {
    const std::lock_guard sending(sending_);
    const std::lock_guard lock(state_);
    connection_ = Descriptor(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (connection_.get() >= 0) {
        const timeval most{kLongestSend.count(), 0};
        ::setsockopt(connection_.get(), SOL_SOCKET, SO_SNDTIMEO, &most, sizeof most);
        incoming_ = Incoming();
        isLoggedIn_ = false;
    }
    return connection_.get();
}

// What was asked on it will not be answered: that is the silence of the next connection.
void Wire::dropConnection() {
    const std::lock_guard sending(sending_);
    const std::lock_guard lock(state_);
    connection_.close();
}

void Wire::take(std::string_view bytes) {
    while (!bytes.empty()) {
        if (incoming_.inFrame) {
            takePayloadPart(bytes);
            continue;
        }
        const char next = bytes.front();
        bytes.remove_prefix(1);
        if (next == ':' && !incoming_.head.empty()) {
            const size_t size = std::stoul(incoming_.head);
            longestFrame_ = std::max<size_t>(longestFrame_, size);
            incoming_ = {{}, size + 1, true};
        } else if (next >= '0' && next <= '9' && incoming_.head.size() < 10) {
            incoming_.head += next;
        } else {
            strayBytes_ += 1 + incoming_.head.size();
            incoming_.head.clear();
        }
    }
}

void Wire::takePayloadPart(std::string_view& bytes) {
    const size_t part = std::min(bytes.size(), incoming_.left);
    const size_t room = kHead - std::min(kHead, incoming_.head.size());
    incoming_.head.append(bytes.substr(0, std::min(part, room)));
    incoming_.left -= part;
    bytes.remove_prefix(part);
    if (incoming_.left == 0) {
        takeFrame();
        incoming_ = Incoming();
    }
}

void Wire::takeFrame() {
    if (!isLoggedIn_) {  // the first message of a connection is the login
        isLoggedIn_ = true;
        ++logins_;
    }
    if (!incoming_.head.starts_with("[\"RSP\"")) {
        return;
    }
    const std::string id = quotedBehind(incoming_.head, "{\"id\":\"").substr(0, 32);
    const std::lock_guard lock(state_);
    if (id.starts_with(kAsk)) {
        takeAnswer(static_cast<unsigned>(std::stoul(id.substr(kAsk.size()))));
    } else {
        ++answers_[id];
        lastAnswers_[id] = incoming_.head;
    }
}

// Answers come in the order of the questions: what was asked before is lost.
void Wire::takeAnswer(unsigned number) {
    const auto asked = asked_.find(number);
    if (asked == asked_.end()) {
        return;
    }
    longest_ = std::max(longest_, wait());
    lastAnswered_ = asked->second;
    asked_.erase(asked_.begin(), std::next(asked));
}

void Wire::ask() {
    const std::unique_lock sending(sending_, std::try_to_lock);
    if (!sending.owns_lock() || connection_.get() < 0 || !reads_) {
        return;
    }
    const unsigned number = ++questions_;
    {
        const std::lock_guard lock(state_);
        asked_[number] = Clock::now();
    }
    const std::string id = std::string(kAsk) + std::to_string(number);
    sendAll(connection_.get(), harness::busFrame("[\"GET\", \"system\", 5, 0, 0]\n{\"id\":\"" + id +
                                                 "\",\"param\":{\"objectName\":[\"active\"]}}"));
}

// While nothing is read nothing is asked: that the bus is deaf is not the daemon's silence.
void Wire::setReading(bool reading) {
    const std::lock_guard sending(sending_);
    const std::lock_guard lock(state_);
    reads_ = reading;
    asked_.clear();
}

bool Wire::sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty() && !ends_) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<size_t>(sent));
    }
    return bytes.empty();
}

bool Wire::sendBytes(std::string_view bytes) {
    const std::lock_guard sending(sending_);
    return connection_.get() >= 0 && sendAll(connection_.get(), bytes);
}

bool Wire::send(std::string_view type, std::string_view data) {
    std::string payload = "[\"" + std::string(type) + "\", \"system\", 5, 0, 0]\n";
    payload += data;
    return sendBytes(harness::busFrame(payload));
}

bool Wire::waitForLogin(size_t count, std::chrono::milliseconds patience) const {
    return holdsWithin(patience, [&] { return logins_ >= count; });
}

Wire::Clock::duration Wire::wait() const {
    return asked_.empty() ? Clock::duration{} : Clock::now() - asked_.begin()->second;
}

std::chrono::duration<double> Wire::longestWait() const {
    const std::lock_guard lock(state_);
    return std::max(longest_, wait());
}

// Only an answer to what was asked after this call counts.
bool Wire::isAnswered(std::chrono::milliseconds patience) const {
    const auto from = Clock::now();
    const auto answered = [&] {
        const std::lock_guard lock(state_);
        return connection_.get() >= 0 && lastAnswered_ > from;
    };
    return holdsWithin(patience, answered);
}

size_t Wire::answers(const std::string& id) const {
    const std::lock_guard lock(state_);
    const auto found = answers_.find(id);
    return found == answers_.end() ? 0 : found->second;
}

std::string Wire::lastAnswer(const std::string& id) const {
    const std::lock_guard lock(state_);
    const auto found = lastAnswers_.find(id);
    return found == lastAnswers_.end() ? "" : found->second;
}

}  // namespace prove
