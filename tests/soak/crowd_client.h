#pragma once

#include <memory>
#include <string>
#include <vector>

#include "bus/netstring_stream_parser.h"
#include "bus/tarn_internal_message.h"
#include "pallframe/simulation/system_call.h"
#include "soaking/ledger.h"
#include "soaking/requests.h"

namespace soak {

// One of many clients of the bus, with its own books. Never waits: connects, logs in and subscribes
// as often as it takes, and is of use in between.
class CrowdClient {
  public:
    struct Line {
        size_t connections = 0;
        size_t overheard = 0;  // requests of other clients, which a subscriber sees
        size_t damaged = 0;    // what came and was no message
    };

    explicit CrowdClient(int connectionID);

    int connectionID() const { return connectionID_; }
    // -1 while it has no connection.
    int descriptor() const { return socket_.get(); }
    // Logged in and subscribed.
    bool isReady() const { return ready_; }

    // Connects if it has no connection; gives up one on which it is not ready after a while.
    void step(uint16_t port, Clock::time_point now);
    // Takes in what is there.
    void receive(Clock::time_point now);
    // When it is ready.
    void send(Request request, Clock::time_point now);

    // Whether it may lose answers from now on.
    void setTrouble(bool trouble) { ledger_.setTrouble(trouble); }
    void giveUpOn(Clock::time_point sentBefore) { ledger_.giveUpOn(sentBefore); }
    size_t outstanding() const { return ledger_.outstanding(); }
    bool isQuiet() const { return ready_ && ledger_.outstanding() == 0; }
    const Counts& counts() const { return ledger_.counts(); }
    const Line& line() const { return line_; }

  private:
    void connect(uint16_t port, Clock::time_point now);
    void introduce();
    void lose(Clock::time_point now);
    void sendFrame(const std::string& type, const std::string& object, const std::string& data);
    void handle(std::unique_ptr<std::vector<char>> payload);
    void handleMessage(const TarnInternalMessage& message);

    const int connectionID_;
    pallframe::simulation::Descriptor socket_;
    lumo::NetStringStreamParser parser_;
    bool ready_ = false;
    Clock::time_point next_;  // attempt to connect, or the end of patience with one
    Ledger ledger_;
    Line line_;
};

}  // namespace soak
