#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include "bus/netstring_stream_parser.h"
#include "pallbus/broker/receive_queue.h"
#include "pallbus/broker/send_queue.h"

namespace pallbus::broker {

// The connection of one client: parses the bytes that arrive into payloads, and sends frames, each
// when it is due. Reads at most kChunkBytes at a time, so that clients take turns in the loop;
// frames sent in one turn, or while a write is in flight, leave together. Shared with the handlers
// of its pending operations. Thread of the loop.
class Connection : public std::enable_shared_from_this<Connection> {
  public:
    using Clock = std::chrono::steady_clock;
    using Payload = ReceiveQueue::Payload;

    // None is called after onDisconnected or close().
    struct Callbacks {
        std::function<void(Payload)> onReceived;  // each payload, as it is parsed
        std::function<void(Payload)> onDue;       // each payload of enqueueReceived, when it is due
        std::function<void(const std::string& reason)> onDisconnected;
        std::function<void()> onSent = [] {};          // a write has completed
        std::function<void()> onFramingError = [] {};  // a frame was dropped for its terminator
    };

    static constexpr size_t kChunkBytes = 16384;
    // A client that leaves more than this unread is disconnected with the next frame to it. A frame
    // itself may be of any size.
    static constexpr size_t kMaxUnreadBytes = size_t{4} * 1024 * 1024;
    // Nothing is read from a client while more than this of its data is delayed.
    static constexpr size_t kMaxDelayedBytes = size_t{1} * 1024 * 1024;
    // A sender that must not lose the client waits for onSent while this much is unsent.
    static constexpr size_t kSendHighWater = size_t{1} * 1024 * 1024;

    explicit Connection(asio::ip::tcp::socket socket);

    // Starts to read.
    void start(Callbacks callbacks);
    // Passes the payload to onDue: at once, or after the delay and all earlier payloads.
    void enqueueReceived(Payload payload, std::chrono::milliseconds delay);
    // Queues the frame. May call onDisconnected.
    void send(const std::string& frame, const faults::Delivery& delivery);
    size_t unsentBytes() const { return inFlight_.size() + sendQueue_.size(); }
    // Passes on and sends everything that is delayed.
    void flushDelayed();
    // Stops or resumes reading; initially on.
    void setReading(bool enabled);
    // Closes the connection and calls onDisconnected.
    void disconnect(const std::string& reason);
    void close();

  private:
    bool mayRead() const { return readingEnabled_ && receiveQueue_.size() < kMaxDelayedBytes; }
    void resumeReading();
    void read();
    void passOnDue();
    void write();
    void writeAt(Clock::time_point time);
    bool hasUnsentBytesInKernel();

    asio::ip::tcp::socket socket_;
    lumo::NetStringStreamParser parser_;
    Callbacks callbacks_;
    std::array<char, kChunkBytes> chunk_{};
    size_t unparsed_ = 0;   // bytes in the chunk
    bool reading_ = false;  // the chunk is in use
    bool readingEnabled_ = true;
    ReceiveQueue receiveQueue_;
    asio::steady_timer receiveTimer_;
    SendQueue sendQueue_;
    asio::steady_timer sendTimer_;
    std::string inFlight_;         // empty: no write is in flight
    bool writeScheduled_ = false;  // the next write starts when the loop comes to it
};

}  // namespace pallbus::broker
