#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bus/netstring_stream_parser.h"
#include "bus/tarn_internal_message.h"
#include "util/files.h"

namespace client {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// Milliseconds for poll(2), rounded up so that it does not wake just before the deadline.
int pollTime(Deadline deadline);

// How a session notices that the bus no longer responds.
struct Heartbeat {
    std::chrono::milliseconds period{5000};
    std::chrono::milliseconds timeout{5000};  // for any message after a heartbeat
};

// A client's connection to the bus on this machine. Unlike the daemon's client it answers no
// requests and has no event loop: every call blocks until its deadline at most. While the session
// is open, the caller has to keep receiving: receive() also sends the heartbeats and notices that
// the bus does not answer them. Buffers at most one chunk of messages; all others wait in the
// kernel. Used by one thread.
class BusSession {
  public:
    // A received payload, followed by a NUL byte.
    using Payload = std::unique_ptr<std::vector<char>>;

    // Calls return early once `output` (a descriptor, -1: none) is a pipe without a reader.
    BusSession(uint16_t port, int32_t connectionID, int output = -1, Heartbeat heartbeat = {});

    // Calls also return early once this descriptor is readable.
    void endWith(int descriptor) { end_ = descriptor; }

    // Called for each frame that was dropped for its terminator.
    void setOnFramingError(std::function<void()> call) { onFramingError_ = std::move(call); }

    // Connects and queues the login. False on failure; errorText() is the reason unless the output
    // has gone.
    bool open(Deadline deadline);
    void close();
    bool isOpen() const { return socket_.get() >= 0; }
    // Whether no received message is buffered; there may be some when the session is closed.
    bool isDrained() const { return received_.empty(); }
    // Whether any message has arrived over this connection.
    bool isAlive() const { return isOpen() && isAlive_; }
    // For callers with their own poll(2): readable when receive() has something; -1 when closed.
    int descriptor() const { return socket_.get(); }
    const std::string& errorText() const { return errorText_; }

    // Queues a subscription to the notifications (and requests) of an object; with `receiveAll`
    // also to the responses to other clients.
    void subscribe(const std::string& path, bool receiveAll = false);

    // Queues the message with the connection id as its source. One flush() sends all queued
    // messages together, so that a device can answer all of them at once.
    void queue(TarnInternalMessage& message);
    // Sends the queued messages. False, with the session closed, when the bus does not accept them
    // within a few seconds or the output has gone.
    bool flush();

    // The next valid message. Empty when the deadline has passed, the connection is lost (isOpen()
    // is then false), or the output has gone.
    std::optional<TarnInternalMessage> receive(Deadline deadline);
    // The next payload, also if it is not a valid message; null instead of empty.
    Payload receivePayload(Deadline deadline);

    // Waits until the deadline, or until the output has gone.
    void pause(Deadline deadline);
    bool outputGone() const { return outputGone_; }

  private:
    enum class Waited { ready, timedOut, outputGone, failed };

    bool connect(Deadline deadline);
    Waited waitFor(short events, Deadline deadline);
    Waited waitForAny(int socket, short events, Deadline deadline);
    static int toErrno(Waited waited);
    void waitForChunk(Deadline deadline);
    void readChunk();
    void keepAlive();
    bool fail(const char* what, int error);

    uint16_t port_;
    int32_t connectionID_;
    int output_;
    int end_ = -1;
    bool outputGone_ = false;
    bool isAlive_ = false;
    util::UniqueDescriptor socket_;
    std::string errorText_;
    Heartbeat heartbeat_;
    Deadline nextHeartbeat_;
    std::optional<Deadline> silentSince_;  // the first heartbeat since the last message
    std::string sendBuffer_;
    lumo::NetStringStreamParser parser_;
    std::deque<Payload> received_;
    std::function<void()> onFramingError_ = [] {};
};

}  // namespace client
