#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "bus/tarn_internal_message.h"
#include "pallbus/broker/routing_table.h"

namespace pallbus::broker {

// Whether a message of this type goes to the client that sent the request.
inline bool isResponse(MessageType type) {
    return type == MessageType::RSP || type == MessageType::CMDRSP || type == MessageType::ACK ||
           type == MessageType::NAK;
}

// Routes the messages of the bus: passes each on byte for byte, or answers it. Has no sockets and
// no clock of its own: the caller passes payloads and times in, and a callback sends. Used by one
// thread.
//
// Requests and notifications go to every subscriber of their object except the sender. Responses go
// to the client whose connection id is their destination, and to the subscribers with receiveAll.
// The broker itself answers logins, subscriptions and heartbeats, and the question for the details
// of the redundant controllers when no client does within kDetailsTimeout.
class Broker {
  public:
    using Clock = std::chrono::steady_clock;
    // Sends a framed message.
    using Deliver = std::function<void(ClientID, const std::string& frame)>;
    // Sees every payload before it is routed, and every answer of the broker. `from` is the
    // connection id of the sender's login; without a login the source in the message;
    // kUnknownSender when the payload is not a message. The broker is 0.
    using Tap = std::function<void(int32_t from, std::string_view payload)>;
    static constexpr int32_t kUnknownSender = -1;

    static constexpr std::chrono::milliseconds kDetailsTimeout{200};
    // Larger messages are routed without a look at their data, or dropped when they are for the
    // broker: all clients wait while a message is parsed.
    static constexpr size_t kMaxParsedBytes = size_t{1} * 1024 * 1024;
    // The broker does not answer larger questions, because it keeps those that wait.
    static constexpr size_t kMaxQuestionBytes = size_t{64} * 1024;
    // With more questions pending, the oldest is answered early.
    static constexpr size_t kMaxPendingQuestions = 1000;

    // `deliver` may call removeClient, also for the client whose message is being routed.
    explicit Broker(Deliver deliver);

    void setTap(Tap tap) { tap_ = std::move(tap); }

    void addClient(ClientID client) { table_.addClient(client); }
    void removeClient(ClientID client);
    std::optional<int32_t> connectionID(ClientID client) const {
        return table_.connectionID(client);
    }

    // Routes one payload as the parser produced it. False when it was dropped: it is not a message,
    // or one for the broker that is too large.
    bool accept(ClientID sender, std::unique_ptr<std::vector<char>> payload, Clock::time_point now);

    // Answers the questions that no client answered in time.
    void answerTimedOut(Clock::time_point now);
    // When the next question times out; empty when none is pending.
    std::optional<Clock::time_point> nextTimeout() const;

  private:
    struct PendingQuestion {
        ClientID client;
        std::string id;
        std::string answer;
        Clock::time_point due;
    };

    void recordMessage(int32_t from, const std::string& frame) const;
    void answer(ClientID client, const std::string& frame);
    void handleBusRequest(ClientID sender, const TarnInternalMessage& message);
    int handleLogin(ClientID sender, const cJSON* login);
    int handleSubscribeList(ClientID sender, const cJSON* list);
    void reply(ClientID client, const TarnInternalMessage& request, int code);

    void routeRequest(ClientID sender, const TarnInternalMessage& message, const std::string& frame,
                      Clock::time_point now);
    void routeResponse(ClientID sender, const TarnInternalMessage& message,
                       const std::string& frame);
    void holdQuestion(ClientID sender, const TarnInternalMessage& request, bool othersAsked,
                      Clock::time_point now);
    void cancelQuestion(ClientID client, const TarnInternalMessage& answer);
    void answerOldest();

    Deliver deliver_;
    Tap tap_;
    RoutingTable table_;
    std::deque<PendingQuestion> questions_;  // all wait equally long, so the oldest is due first
};

}  // namespace pallbus::broker
