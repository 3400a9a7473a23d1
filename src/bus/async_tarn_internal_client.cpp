// Everything that the client sends is stamped, encoded and framed in sendUnstamped(), which refuses
// a message that lacks a part. Received payloads are decoded one by one in handlePayload(): the
// bus's own questions on "system" are answered here, then the owner gets the message. While paused,
// payloads of the chunk in work are kept, and resume() hands them on as one batch.

#include "bus/async_tarn_internal_client.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <exception>
#include <new>
#include <optional>
#include <utility>

#include "bus/messages.h"
#include "bus/netstring.h"
#include "bus/required_json.h"
#include "util/json.h"
#include "util/log.h"
#include "util/memory.h"

namespace lumo {

namespace {

constexpr const char* kConnectionObject = "system.connection";
constexpr const char* kSystemObject = "system";
constexpr const char* kModuleReady = "moduleReady";
constexpr int kLoginVersion = 1;
constexpr int kOk = 200;
constexpr int kBadRequest = 400;

// The receivers' limit.
constexpr std::size_t kMaxPayloadBytes = 20'000'000;

void logUnsendable(const TarnInternalMessage& message) {
    util::logMessage(LOG_ERR, "Message %s for %.200s is longer than the bus takes, dropped\n",
                     typeWord(message.type()), message.objectName().c_str());
}

// Whether the JSON library lacked memory on this thread since the last call: an item made since
// then may be incomplete.
bool lackedMemory() {
    thread_local unsigned long known = 0;
    const unsigned long failed = util::failedJSONAllocations();
    return std::exchange(known, failed) != failed;
}

util::UniqueJSON objectWith(const char* key, util::UniqueJSON item) {
    util::UniqueJSON object = requireItem(util::jsonObject());
    addRequired(object.get(), key, std::move(item));
    return object;
}

util::UniqueJSON identity(const std::string& name, std::int32_t connID) {
    util::UniqueJSON object = objectWith("name", util::jsonString(name));
    addRequired(object.get(), "connID", util::jsonNumber(connID));
    return object;
}

util::UniqueJSON subscription(const std::string& path, bool receiveAll) {
    util::UniqueJSON entry = objectWith("path", util::jsonString(path));
    if (receiveAll) {
        addRequired(entry.get(), "receiveAll", util::jsonBool(true));
    }
    return entry;
}

// Nothing for an invalid message, which the decoder has logged.
std::optional<TarnInternalMessage> decode(std::unique_ptr<std::vector<char>> payload) {
    std::optional<TarnInternalMessage> message;
    try {
        message.emplace(std::move(payload));
    } catch (const std::exception&) {
        message.reset();
    }
    return message;
}

}  // namespace

AsyncTarnInternalClient::AsyncTarnInternalClient(asio::io_service& io, std::string host,
                                                 std::int32_t port, std::string name,
                                                 std::int32_t connID)
    : name_(std::move(name)), connID_(connID), transport_(io, std::move(host), port) {
    transport_.setName(name_);
}

void AsyncTarnInternalClient::connectToTarnInternal() {
    transport_.setOnConnect([this](std::error_code error) {
        if (!error) {
            handleConnect();
        }
        return error;
    });
    transport_.setHeartbeat(heartbeatPeriod_, [this] { send(SETMessage("", nullptr)); });
    transport_.setOnData([this](const char* data, std::size_t size,
                                const TCPClientImplAsio::IpDetails&) { parser_.feed(data, size); });
    // Half a frame would be kept until the bus is back.
    transport_.setOnClose([this](const std::string&) { parser_.reset(); });
    parser_.setOnMessage([this](Payload payload) { handlePayload(std::move(payload)); });
    transport_.start();
}

void AsyncTarnInternalClient::disconnect() {
    setConnectionState(ConnectionState::disconnected, "disconnect");
    transport_.stop();
}

void AsyncTarnInternalClient::handleConnect() {
    parser_.reset();
    util::UniqueJSON login = identity(name_, connID_);
    addRequired(login.get(), "version", util::jsonNumber(kLoginVersion));
    send(SETMessage(kConnectionObject, objectWith("login", std::move(login))));
    sendSubscriptions(subscriptions_);
    setConnectionState(ConnectionState::connected, "connect OK");
}

void AsyncTarnInternalClient::setConnectionState(ConnectionState state, const std::string& reason) {
    connectionState_ = state;
    if (onConnectionState_) {
        onConnectionState_(state, reason);
    }
}

void AsyncTarnInternalClient::subscribe(const std::string& path) {
    if (std::find(subscriptions_.begin(), subscriptions_.end(), path) != subscriptions_.end()) {
        return;
    }
    subscriptions_.push_back(path);
    sendSubscriptions({path});
}

void AsyncTarnInternalClient::unsubscribe(const std::string& path) {
    std::erase(subscriptions_, path);
}

void AsyncTarnInternalClient::sendSubscriptions(const std::vector<std::string>& paths) {
    util::UniqueJSON list = util::jsonArray();
    for (const std::string& path : paths) {
        if (!util::addElement(list.get(), subscription(path, receiveAll_))) {
            throw std::bad_alloc();
        }
    }
    send(SETMessage(kConnectionObject, objectWith("subscribeList", std::move(list))));
}

void AsyncTarnInternalClient::setModuleReady() {
    util::logMessage(LOG_DEBUG, "AsyncTarnInternalClient::setModuleReady");
    if (!std::exchange(moduleReady_, true)) {
        send(NOTMessage(kSystemObject, kModuleReady, readiness()));
    }
}

util::UniqueJSON AsyncTarnInternalClient::readiness() const {
    util::UniqueJSON state = identity(name_, connID_);
    addRequired(state.get(), "ready", util::jsonBool(moduleReady_));
    return state;
}

void AsyncTarnInternalClient::send(TarnInternalMessage&& message) {
    message.header().source = connID_;
    sendUnstamped(message);
}

void AsyncTarnInternalClient::sendUnstamped(const TarnInternalMessage& message) {
    if (lackedMemory()) {
        throw std::bad_alloc();
    }
    const std::size_t least = message.madeDataSize();
    if (least > kMaxPayloadBytes) {
        logUnsendable(message);
        return;
    }
    // Not even framed: beside the frame that asked for it, it would be one large text more.
    if (least > util::kLargeUse && transport_.refuses(least)) {
        return;
    }
    std::string payload = message.encode();
    if (payload.size() > kMaxPayloadBytes) {
        logUnsendable(message);
        return;
    }
    std::array<std::string, 3> parts = netStringParts(std::move(payload));
    transport_.send(parts);
}

void AsyncTarnInternalClient::pause() {
    paused_ = true;
    transport_.pauseReading();
}

void AsyncTarnInternalClient::resume() {
    paused_ = false;
    if (handingOn_) {
        return;  // handOnKept() is running: no message is handled inside another one
    }
    handOnKept();
    if (!paused_) {
        transport_.resumeReading();
    }
}

void AsyncTarnInternalClient::handOnKept() {
    const Batch batch = gather();
    handingOn_ = true;
    const std::unique_ptr<bool, void (*)(bool*)> over(&handingOn_, [](bool* on) { *on = false; });
    while (!paused_ && !kept_.empty()) {
        Payload payload = std::move(kept_.front());
        kept_.pop_front();
        handlePayload(std::move(payload));
    }
}

// A message that is too large to be handled is dropped, wherever the memory runs out.
void AsyncTarnInternalClient::handlePayload(Payload payload) {
    try {
        if (paused_) {
            kept_.push_back(std::move(payload));
        } else if (std::optional<TarnInternalMessage> message = decode(std::move(payload))) {
            handleMessage(std::move(*message));
        }
    } catch (const std::bad_alloc&) {
        util::logMessage(LOG_CRIT, "Memory error handling a message, dropped\n");
    }
    static_cast<void>(lackedMemory());  // it concerns this message, not the next
}

void AsyncTarnInternalClient::handleMessage(TarnInternalMessage&& message) {
    if (message.objectName() == kSystemObject) {
        handleSystemMessage(message);
    }
    if (onMessage_) {
        onMessage_(std::move(message));
    }
}

void AsyncTarnInternalClient::handleSystemMessage(const TarnInternalMessage& message) {
    if (message.type() == MessageType::GET) {
        handleModuleReadyQuery(message);
    } else if (message.type() == MessageType::SET || message.type() == MessageType::RSP) {
        handleSystemKelMasterStateRspMsg(message);
    }
}

void AsyncTarnInternalClient::handleModuleReadyQuery(const TarnInternalMessage& request) {
    const std::optional<NameQuery::Names>& names = request.nameQuery().values;
    if (names && std::find(names->begin(), names->end(), kModuleReady) != names->end()) {
        send(RSPMessage(request, objectWith(kModuleReady, readiness())));
    }
}

void AsyncTarnInternalClient::handleSystemKelMasterStateRspMsg(const TarnInternalMessage& message) {
    util::logMessage(LOG_DEBUG, "AsyncTarnInternalClient::handleSystemKelMasterStateRspMsg: %s",
                     message.header().encode().c_str());
    const cJSON* const param = util::jsonMember(message.data(), "param");
    const char* const state = util::jsonText(util::jsonMember(param, "kelMasterState"));
    if (state == nullptr) {
        return;
    }
    standby_ = std::string("standby") == state;
    if (onMasterState_) {
        const std::error_code refused = onMasterState_(standby_);
        send(RSPMessage(message, refused ? kBadRequest : kOk));
    }
}

}  // namespace lumo
