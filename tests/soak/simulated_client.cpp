// step() is called in each turn: it connects, receives or gives a connection up, whatever the state
// of the session asks for. Requests are sent as they are, so that they may be invalid; responses
// and notifications go to the tracker.

#include "soak_lib/simulated_client.h"

#include <stdexcept>
#include <string_view>

#include "util/json.h"

namespace soak {

namespace {

using namespace std::chrono_literals;

constexpr auto kReconnectPause = 200ms;
constexpr auto kLoginTimeout = 3s;
constexpr client::Heartbeat kHeartbeat{5s, 20s};
constexpr int32_t kDaemonID = 8;
constexpr const char* kConnectionObject = "system.connection";
constexpr const char* kDevice = "system";
constexpr const char* kPartialValue = "\"cut\"";  // no request sets this value

// A request to the device with data that is sent unchanged, valid or not.
class RawRequest : public TarnInternalMessage {
  public:
    RawRequest(const std::string& type, std::string data) : data_(std::move(data)) {
        header().type = type == "SET" ? MessageType::SET : MessageType::GET;
        header().objectName = kDevice;
    }
    std::string encode() const override { return header().encode() + data_; }

  private:
    std::string data_;
};

// The only member of "param"; null when there is none. Belongs to the message.
const cJSON* findParam(const TarnInternalMessage& message) {
    const cJSON* const param = util::jsonMember(message.data(), "param");
    return param == nullptr ? nullptr : param->child;
}

// The daemon asks one question, for the redundant controllers, on each new connection.
bool isGreeting(const TarnInternalMessage& message) {
    return message.source() == kDaemonID && message.type() == MessageType::GET;
}

Answer decodeAnswer(const TarnInternalMessage& message) {
    Answer answer;
    answer.number = parseRequestNumber(message.uniqueId()).value_or(0);
    answer.status = message.statusCode();
    if (const cJSON* const item = findParam(message)) {
        answer.name = item->string;
        answer.value = util::renderJSON(item, false);
    }
    return answer;
}

}  // namespace

SimulatedClient::SimulatedClient(int connectionID, ExpectedSettings& settings)
    : connectionID_(connectionID),
      session_(kBusPort, connectionID, -1, kHeartbeat),
      tracker_(settings) {}

void SimulatedClient::step(Clock::time_point now) {
    if (!session_.isOpen()) {
        if (now >= next_) {
            connect(now);
        }
        return;
    }
    while (client::BusSession::Payload payload = session_.receivePayload(now)) {
        try {
            handle(TarnInternalMessage(std::move(payload)));
        } catch (const std::runtime_error&) {
            ++tracker_.counts().damaged;
        }
    }
    if (!session_.isOpen() || (!isReady() && now >= next_)) {
        close(now);
    }
}

void SimulatedClient::connect(Clock::time_point now) {
    next_ = now + kReconnectPause;
    if (!session_.open(now + kLoginTimeout)) {
        return;
    }
    ++tracker_.counts().connections;
    next_ = now + kLoginTimeout;
    session_.subscribe(kDevice);
    session_.flush();
}

// The answers to requests under way are lost, which counts as a failure unless they are excused.
void SimulatedClient::close(Clock::time_point now) {
    session_.close();
    confirmations_ = 0;
    next_ = now + kReconnectPause;
    tracker_.expire(Clock::time_point::max());
}

void SimulatedClient::send(Request request, Clock::time_point now) {
    const std::string type = request.type;
    const std::string data = request.data;
    tracker_.sent(std::move(request), now);
    sendData(type, data);
}

// The padding is longer than everything before it, so half of the frame ends within the padding.
void SimulatedClient::sendPartialSet() {
    sendData("SET", std::string(R"({"id":"cut","param":{"systemName":)") + kPartialValue + "}}" +
                        std::string(200, ' '));
}

void SimulatedClient::sendMalformed() {
    sendData("SET", "{\"id\":");
}

// A failure closes the session, which the next step notices.
void SimulatedClient::sendData(const std::string& type, const std::string& data) {
    RawRequest request(type, data);
    session_.queue(request);
    session_.flush();
}

void SimulatedClient::handle(const TarnInternalMessage& message) {
    if (message.objectName() == kConnectionObject) {
        confirmations_ += message.statusCode() == 200 ? 1 : 0;
    } else if (message.objectName().empty()) {
        return;  // the answer to a heartbeat
    } else if (message.type() == MessageType::RSP) {
        const Answer answer = decodeAnswer(message);
        if (!answer.name.empty()) {
            values_[answer.name] = answer.value;
        }
        tracker_.answered(answer);
    } else if (message.type() != MessageType::NOT) {
        ++tracker_.counts().overheard;
        tracker_.counts().greetings += isGreeting(message) ? 1U : 0U;
    } else if (const cJSON* const item = findParam(message)) {
        handleNotification(item->string, util::renderJSON(item, false));
    }
}

void SimulatedClient::handleNotification(const std::string& name, const std::string& value) {
    tracker_.counts().partialSets += value == kPartialValue ? 1U : 0U;
    tracker_.notified(name, value);
}

std::string SimulatedClient::lastValue(const std::string& name) const {
    const auto found = values_.find(name);
    return found == values_.end() ? "" : found->second;
}

}  // namespace soak
