#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "bus/netstring_stream_parser.h"
#include "switchboard/inbox.h"
#include "switchboard/outbox.h"

namespace pallbus {

// The connection of one client: bytes in, payloads out, and frames back, each when it is due. One
// read of at most kChunk bytes at a time, so that clients take turns in the loop; what is sent in
// one turn, or while a write is under way, leaves together. Shared with the handlers of the
// operations that wait. Thread of the loop.
class ClientLink : public std::enable_shared_from_this<ClientLink> {
  public:
    using Clock = std::chrono::steady_clock;
    using Payload = Inbox::Payload;
    using OnPayload = std::function<void(Payload)>;
    using OnLost = std::function<void(const std::string& reason)>;

    static constexpr size_t kChunk = 16384;
    // A client that leaves as much unread is lost with the next frame to it: its memory is the
    // bus's. One frame of any size there can be comes on top.
    static constexpr size_t kMostUnreadBytes = size_t{4} * 1024 * 1024;
    // While so much that it sent is held back, nothing more is read from it.
    static constexpr size_t kMostHeldBytes = size_t{1} * 1024 * 1024;

    explicit ClientLink(asio::ip::tcp::socket socket);

    // Starts to read. `onArrived` gets each payload as it comes and may hold it back; `onDue` gets
    // what was. None of the three is called after `onLost` or close().
    void start(OnPayload onArrived, OnPayload onDue, OnLost onLost);
    // Hands the payload to `onDue`: at once, or after that time and all that are held back already.
    void hold(Payload payload, std::chrono::milliseconds delay);
    // Queues the frame. May call `onLost`.
    void send(const std::string& frame, const Fate& fate);
    // What is held back or waits for its time goes on now.
    void hurry();
    // Whether to take in what the client sends; true in the beginning.
    void setReading(bool reading);
    // Ends the connection as if the client had done it: calls `onLost`.
    void lose(const std::string& reason);
    void close();

  private:
    bool mayRead() const { return wantsToRead_ && inbox_.size() < kMostHeldBytes; }
    void takeIn();
    void read();
    void handOnDue();
    void write();
    void writeAt(Clock::time_point time);
    bool hasUnsentBytes();

    asio::ip::tcp::socket socket_;
    lumo::NetStringStreamParser parser_;
    OnPayload onDue_;
    OnLost onLost_;
    std::array<char, kChunk> chunk_{};
    size_t arrived_ = 0;    // bytes in the chunk that the parser has not seen
    bool reading_ = false;  // the chunk is in use
    bool wantsToRead_ = true;
    Inbox inbox_;
    asio::steady_timer inboxTimer_;
    Outbox outbox_;
    asio::steady_timer outboxTimer_;
    std::string inFlight_;     // empty: no write is under way
    bool writeAhead_ = false;  // the next one starts when the loop comes to it
};

}  // namespace pallbus
