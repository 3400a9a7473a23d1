#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <asio/io_context.hpp>
#include <asio/local/stream_protocol.hpp>
#include <asio/steady_timer.hpp>

#include "model/files.h"

// How a running bus is told what to do: over a unix socket whose name is not in the file system but
// belongs to the network namespace, as the port does that it is made of (unix(7), abstract
// sockets). So each simulated frame has its own. A caller sends a text, and an open file where the
// bus is to write one, and closes its side; the bus answers with "ok" or "no" on a line, then what
// there is to say, and closes.

namespace pallbus {

// What somebody told the bus.
struct Instruction {
    std::string text;
    UniqueFile file;  // of who told it, to be written; may be null
};

// What it got for an answer.
struct Reply {
    bool done = false;
    std::string text;  // for people: what was asked for, or the problem
};

// The bus's end. One caller at a time, and none for long while it says nothing. Destroyed before
// the loop is; thread of the loop.
class ControlSocket {
  public:
    // To be called once, sooner or later, while the loop runs.
    using Answer = std::function<void(const Reply&)>;
    using Handle = std::function<void(Instruction instruction, Answer answer)>;

    // Throws asio::system_error when the name is taken.
    ControlSocket(asio::io_context& io, uint16_t port, Handle handle);

  private:
    void accept();
    void read();
    void readOn();
    void answer(const Reply& reply);
    void endLater();
    void next();

    asio::local::stream_protocol::acceptor acceptor_;
    asio::local::stream_protocol::socket caller_;
    uint64_t call_ = 0;  // its number: what was meant for an earlier one comes to nothing
    asio::steady_timer patience_;
    Handle handle_;
    Instruction instruction_;
    std::string reply_;
};

// The caller's end: waits for the answer of the bus on that port. Nothing when there is no bus.
std::optional<Reply> tell(uint16_t port, const std::string& text, const UniqueFile& file = {});

}  // namespace pallbus
