#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <asio/ip/tcp.hpp>

#include "bus/netstring_stream_parser.h"

namespace pallbus {

// The connection of one client: bytes in, payloads out, and frames back. One read of at most
// kChunk bytes at a time, so that clients take turns in the loop; what is sent in one turn, or
// while a write is under way, leaves together. Shared with the handlers of the operations that
// wait. Thread of the loop.
class ClientLink : public std::enable_shared_from_this<ClientLink> {
  public:
    using OnPayload = std::function<void(std::unique_ptr<std::vector<char>>)>;
    using OnLost = std::function<void(const std::string& reason)>;

    static constexpr size_t kChunk = 16384;
    // A client that leaves more unread is lost: its memory is the bus's. The largest frame fits.
    static constexpr size_t kMostWaitingBytes = size_t{32} * 1024 * 1024;

    explicit ClientLink(asio::ip::tcp::socket socket);

    // Starts to read. Neither callback is called after `onLost` or close().
    void start(OnPayload onPayload, OnLost onLost);
    // Queues the frame. May call `onLost`.
    void send(const std::string& frame);
    void close();

  private:
    void read();
    void write();
    void lose(const std::string& reason);

    asio::ip::tcp::socket socket_;
    lumo::NetStringStreamParser parser_;
    OnLost onLost_;
    std::array<char, kChunk> chunk_{};
    std::string waiting_;
    std::string inFlight_;     // empty: no write is under way
    bool writeAhead_ = false;  // the next one starts when the loop comes to it
};

}  // namespace pallbus
