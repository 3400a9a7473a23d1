#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>

#include "bus/netstring_stream_parser.h"

namespace replay {

// The connection of the device that a recording is played to. Shared with the handlers of its
// operations. Thread of the loop.
class DeviceLink : public std::enable_shared_from_this<DeviceLink> {
  public:
    struct Callbacks {
        std::function<void(std::string payload)> onPayload;
        std::function<void()> onSent;  // there may be less on the way than enough
        std::function<void()> onLost;  // the device closed the connection, or it broke
    };

    // Whoever sends more than the device reads waits for onSent with this much on the way.
    static constexpr size_t kEnough = size_t{1} * 1024 * 1024;

    explicit DeviceLink(asio::ip::tcp::socket socket);

    // Starts to read. Nothing is called back after onLost or close().
    void start(Callbacks callbacks);
    void send(const std::string& payload);
    bool hasEnough() const { return waiting_.size() + inFlight_.size() >= kEnough; }
    void close();

  private:
    void read();
    void write();
    void lose();

    asio::ip::tcp::socket socket_;
    Callbacks callbacks_;
    lumo::NetStringStreamParser parser_;
    std::array<char, 16384> chunk_{};
    std::string waiting_;
    std::string inFlight_;  // empty: no write is under way
};

}  // namespace replay
