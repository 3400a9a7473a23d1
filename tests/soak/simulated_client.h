#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "bus/tarn_internal_message.h"
#include "client/bus_session.h"
#include "soak_lib/request_tracker.h"
#include "soak_lib/requests.h"

namespace soak {

inline constexpr uint16_t kBusPort = 15000;

// One client of the bus, which tracks its own requests. Connects, logs in and subscribes to the
// device as often as necessary. No call waits for an answer.
class SimulatedClient {
  public:
    SimulatedClient(int connectionID, ExpectedSettings& settings);

    int connectionID() const { return connectionID_; }
    int descriptor() const { return session_.descriptor(); }  // -1 without a connection
    // Whether it is connected, logged in and subscribed.
    bool isReady() const { return confirmations_ == 2; }

    // Receives what has arrived. Connects without a connection, and closes one on which it does not
    // get ready.
    void step(Clock::time_point now);
    // The client has to be ready.
    void send(Request request, Clock::time_point now);
    // Sends a set that the bus is to deliver in part: its first half contains valid data.
    void sendPartialSet();
    // Sends a set whose data is not JSON. The daemon does not answer it.
    void sendMalformed();

    RequestTracker& tracker() { return tracker_; }
    const RequestTracker& tracker() const { return tracker_; }
    // The last value of a parameter that a GET returned, as JSON text.
    std::string lastValue(const std::string& name) const;

  private:
    void connect(Clock::time_point now);
    void close(Clock::time_point now);
    void sendData(const std::string& type, const std::string& data);
    void handle(const TarnInternalMessage& message);
    void handleNotification(const std::string& name, const std::string& value);

    const int connectionID_;
    client::BusSession session_;
    int confirmations_ = 0;   // of login and subscription
    Clock::time_point next_;  // attempt to connect, or the deadline to get ready
    RequestTracker tracker_;
    std::map<std::string, std::string> values_;
};

}  // namespace soak
