#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>

#include "bus/timer.h"
#include "util/files.h"

// Controls a running bus over a unix socket. The name of the socket contains the port and belongs
// to the network namespace (unix(7), abstract sockets), so each simulated frame has its own. A
// client sends a command, together with an open file if the bus is to write one, and shuts its side
// down; the bus answers with "ok" or "error" on a line, then a text, and closes.

namespace pallbus::broker {

struct ControlRequest {
    std::string command;
    util::UniqueFile file;  // opened by the client, for the bus to write; may be null
};

struct ControlReply {
    bool ok = false;
    std::string text;  // for people: the output, or the error
};

// The bus's end. Serves one client at a time, and drops one that stays silent for long. Destroyed
// before the loop is; thread of the loop.
class ControlSocket {
  public:
    // Has to be called once, at any time, on the thread of the loop.
    using Answer = std::function<void(const ControlReply&)>;
    using Handle = std::function<void(ControlRequest request, Answer answer)>;

    // Throws asio::system_error when the name is taken.
    ControlSocket(asio::io_context& io, uint16_t port, Handle handle);

  private:
    void accept();
    void read();
    void receive();
    void answer(const ControlReply& reply);
    void closeClient();

    asio::local::stream_protocol::acceptor acceptor_;
    asio::local::stream_protocol::socket client_;
    uint64_t clientNumber_ = 0;  // handlers that belong to an earlier client do nothing
    lumo::Timer timeout_;
    Handle handle_;
    ControlRequest request_;
    std::string reply_;
};

// The client's end: sends the command and waits for the reply. Empty when no bus uses the port.
std::optional<ControlReply> sendCommand(uint16_t port, const std::string& command,
                                        const util::UniqueFile& file = {});

}  // namespace pallbus::broker
