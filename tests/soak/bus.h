#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "bus/netstring_stream_parser.h"
#include "bus/tarn_internal_message.h"
#include "pallframe/simulation/system_call.h"

namespace soak {

// The bus as the daemon sees it, with everything that can happen to it. One connection at a time;
// reading and accepting never wait. Throws std::system_error when the machine refuses.
class Bus {
  public:
    Bus(uint16_t port, std::function<void(const TarnInternalMessage&)> onMessage);

    void listen();
    void stopListening() { listener_.close(); }
    bool isListening() const { return listener_.get() >= 0; }
    int listener() const { return listener_.get(); }

    bool accept();  // false when nobody is there
    bool isConnected() const { return connection_.get() >= 0; }
    int connection() const { return connection_.get(); }
    void close();

    // Takes in what is there. False when the daemon has left; the connection is then closed.
    bool receive();

    // False when the daemon has left.
    bool send(std::string_view bytes) const;

    // A message of connection `source` in its frame.
    static std::string frame(const std::string& type, const std::string& object, int source,
                             int destination, const std::string& data);

  private:
    void decode(std::unique_ptr<std::vector<char>> payload);

    uint16_t port_;
    std::function<void(const TarnInternalMessage&)> onMessage_;
    pallframe::simulation::Descriptor listener_;
    pallframe::simulation::Descriptor connection_;
    lumo::NetStringStreamParser parser_;
};

}  // namespace soak
