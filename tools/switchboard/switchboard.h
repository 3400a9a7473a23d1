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
#include "switchboard/routing_table.h"

namespace pallbus {

// What the bus does with a message: passes it on byte for byte, or answers it itself. Without
// sockets and without a clock of its own: whoever drives it hands in payloads and times, and is
// called back with what to send. Used by one thread.
//
// Requests and announcements go to every subscriber of their object but the sender, answers to the
// client whose connection id is their destination, and to those who receive all of the object.
// The bus itself answers what is about the connection (login, subscriptions, heartbeats), and the
// question for the master details if nobody else does within kPatience.
class Switchboard {
  public:
    using Clock = std::chrono::steady_clock;
    // Gets messages framed, ready for the wire.
    using Deliver = std::function<void(ClientID, const std::string& frame)>;
    // Gets every payload that comes in, before anything is done with it, and every answer that the
    // bus itself gives. `from` is the connection id of the sender's login; before that, what the
    // message says; kNobody when it is no message either. The bus is 0.
    using Witness = std::function<void(int32_t from, std::string_view payload)>;
    static constexpr int32_t kNobody = -1;

    static constexpr std::chrono::milliseconds kPatience{200};
    // What is larger is passed on unread, or dropped when it is for the bus itself: the paths of a
    // client are far from it, and while one message is read all clients wait.
    static constexpr size_t kMostReadBytes = size_t{1} * 1024 * 1024;
    // And larger questions are left to others: each that waits is kept.
    static constexpr size_t kMostQuestionBytes = size_t{64} * 1024;
    // So many questions can wait for somebody else's answer; the oldest is answered early.
    static constexpr size_t kMostQuestions = 1000;

    // `deliver` may call leave, also for the client whose message is being handled.
    explicit Switchboard(Deliver deliver);

    void setWitness(Witness witness) { witness_ = std::move(witness); }

    void join(ClientID client) { table_.join(client); }
    void leave(ClientID client);
    std::optional<int32_t> connectionIDOf(ClientID client) const {
        return table_.connectionIDOf(client);
    }

    // Handles one received payload, as the parser hands it out. False when it is no message, or one
    // for the bus that it does not read; it is then dropped.
    bool accept(ClientID sender, std::unique_ptr<std::vector<char>> payload, Clock::time_point now);

    // Answers the questions that nobody else answered in time.
    void answerDue(Clock::time_point now);
    // When the next of them is due; nothing while none is waiting.
    std::optional<Clock::time_point> nextDue() const;

  private:
    struct Question {
        ClientID asker;
        std::string id;
        std::string answer;
        Clock::time_point due;
    };

    void witness(int32_t from, const std::string& frame) const;
    void answer(ClientID client, const std::string& frame);
    void handleConnection(ClientID sender, const TarnInternalMessage& message);
    int takeLogin(ClientID sender, const cJSON* login);
    int takeSubscriptions(ClientID sender, const cJSON* list);
    void reply(ClientID client, const TarnInternalMessage& request, int code);

    void passRequest(ClientID sender, const TarnInternalMessage& message, const std::string& frame,
                     Clock::time_point now);
    void passAnswer(ClientID sender, const TarnInternalMessage& message, const std::string& frame);
    void ask(ClientID sender, const TarnInternalMessage& request, bool othersAsked,
             Clock::time_point now);
    void settle(ClientID asker, const TarnInternalMessage& answer);
    void answerOldest();

    Deliver deliver_;
    Witness witness_;
    RoutingTable table_;
    std::deque<Question> questions_;  // all wait equally long, so the oldest is due first
};

}  // namespace pallbus
