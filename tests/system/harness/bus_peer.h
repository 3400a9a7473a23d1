#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bus_message.h"
#include "deadline.h"
#include "pallframe/simulation/system_call.h"

namespace harness {

// The bus as the daemon sees it: listens on 127.0.0.1, takes one connection at a time, reads and
// writes bytes, frames or messages. Shares no code with the daemon, so that a fault there shows
// here. Belongs to the test's thread. Waiting throws TimedOut; other errors std::system_error or
// std::runtime_error.
class BusPeer {
  public:
    explicit BusPeer(int port = 15000);

    void accept(const Deadline& deadline = Deadline());  // drops the connection before

    // The next frame's payload; a malformed frame, or an end instead, is a std::runtime_error.
    std::string receivePayload(const Deadline& deadline = Deadline());
    BusMessage receive(const Deadline& deadline = Deadline());
    std::vector<BusMessage> receive(size_t count, const Deadline& deadline = Deadline());

    // The next message of that type for that object, passing over others.
    BusMessage waitFor(std::string_view type, std::string_view objectName,
                       const Deadline& deadline = Deadline());

    // From here on receive() passes over announcements of this parameter.
    void ignoreAnnouncements(std::string_view parameter) { ignored_ = parameter; }

    // Waits until the daemon has closed the connection, passing over what it sends.
    void waitForClose(const Deadline& deadline = Deadline());

    void sendRaw(std::string_view bytes) const;
    void send(std::string_view type, std::string_view objectName, int source, int destination,
              std::string_view data) const;

    // The same for a request of another client, which has connection 5 here.
    void get(std::string_view objectName, std::string_view data) const;
    void set(std::string_view objectName, std::string_view data) const;

    // Waits until the daemon has taken in every byte that was sent, so that the next ones come to
    // it apart from those.
    void waitUntilRead(const Deadline& deadline = Deadline()) const;

    // What the daemon had sent and this bus not read at the time of this copy of /proc/net/tcp, in
    // bytes.
    long unreadBytes(const std::string& connections) const;

    // From now on received bytes are acknowledged as late as the kernel may (TCP_QUICKACK, tcp(7)).
    void acknowledgeLate() const;

    // How many segments with data came on this connection so far.
    unsigned dataSegments() const;

    // For connections to come: how much the kernel takes in while nobody reads, about (SO_RCVBUF).
    void setReceiveBuffer(int bytes) const;

    void close();          // the connection; unread bytes make it a reset
    void stopListening();  // further attempts are refused
    void listen();         // again, as at the beginning

  private:
    bool fill(const Deadline& deadline);
    bool isIgnored(const BusMessage& message) const;
    uint16_t ownPort() const { return static_cast<uint16_t>(port_); }

    int port_;
    pallframe::simulation::Descriptor listener_;
    pallframe::simulation::Descriptor connection_;
    std::string received_;
    std::string ignored_;
};

}  // namespace harness
