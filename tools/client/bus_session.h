#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bus/netstring_stream_parser.h"
#include "bus/tarn_internal_message.h"
#include "program/file_descriptor.h"

namespace pallctl {

using Clock = std::chrono::steady_clock;
using Deadline = Clock::time_point;

// Milliseconds for poll(2), rounded up so that it does not wake just before the deadline.
int pollTime(Deadline deadline);

// How a session finds out that the bus has gone without a word.
struct Heartbeat {
    std::chrono::milliseconds period{5000};
    std::chrono::milliseconds patience{5000};  // for the first sign of life after one
};

// A client's connection to the bus on this machine. Unlike the daemon's client it answers nothing,
// and it does nothing by itself: every call blocks, until its deadline at most. Whoever keeps it
// open keeps receiving: that is when heartbeats are sent and a bus that leaves them unanswered is
// found out. Never holds more than one chunk of messages that nobody has asked for yet; all others
// wait in the kernel. Used by one thread.
class BusSession {
  public:
    // A received payload, with a NUL byte behind it.
    using Payload = std::unique_ptr<std::vector<char>>;

    // Nobody waits any longer once `output` (a descriptor, -1: none) is a pipe without reader.
    BusSession(uint16_t port, int32_t connectionID, int output = -1, Heartbeat heartbeat = {});

    // The same once this one is readable.
    void endWith(int descriptor) { end_ = descriptor; }

    // Connects and queues the login. False when that failed; errorText() then says why, which is
    // nobody's concern when the output has gone.
    bool open(Deadline deadline);
    void close();
    bool isOpen() const { return socket_.get() >= 0; }
    // Whether anything has come over this connection yet: one that is only accepted may lead
    // nowhere.
    bool isAlive() const { return isOpen() && isAlive_; }
    // For those who wait for more than the bus: readable when receive() with a deadline of now
    // finds something, -1 when closed.
    int descriptor() const { return socket_.get(); }
    const std::string& errorText() const { return errorText_; }

    // Queues a subscription of the announcements (and requests) of an object; with `receiveAll`
    // also of the answers to others.
    void subscribe(const std::string& path, bool receiveAll = false);

    // Stamps the message with the connection id and queues it. What is queued leaves together in
    // one flush(), so that a device can answer all of it at once.
    void queue(TarnInternalMessage& message);
    // Sends what is queued. False, and the session closed, when the bus does not take it within a
    // few seconds or before the output has gone.
    bool flush();

    // The next message; what is none is passed over. Nothing when the deadline came first, the
    // connection is lost (isOpen() is then false), or the output has gone.
    std::optional<TarnInternalMessage> receive(Deadline deadline);
    // The same as it came, also when it is no message; null for nothing.
    Payload receivePayload(Deadline deadline);

    // Waits for the deadline, or for the output to go.
    void pause(Deadline deadline);
    bool outputGone() const { return outputGone_; }

  private:
    enum class Waited { ready, timeOver, outputGone, failed };

    bool connect(Deadline deadline);
    Waited waitFor(short events, Deadline deadline);
    Waited waitForAny(int socket, short events, Deadline deadline);
    static int errorOf(Waited waited);
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
    FileDescriptor socket_;
    std::string errorText_;
    Heartbeat heartbeat_;
    Deadline nextHeartbeat_;
    std::optional<Deadline> silentSince_;  // the first heartbeat since the bus was last heard of
    std::string outbox_;
    lumo::NetStringStreamParser parser_;
    std::deque<Payload> inbox_;
};

}  // namespace pallctl
