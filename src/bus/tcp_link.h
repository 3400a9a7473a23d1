#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <system_error>
#include <vector>

#include <asio/basic_stream_socket.hpp>
#include <asio/io_context.hpp>
#include <asio/io_service.hpp>
#include <asio/ip/tcp.hpp>

#include "bus/handler_memory.h"

namespace lumo {

// The socket of one connection attempt and of the connection that comes of it.
//
// Shared by the transport and by every operation under way on the socket. The transport retires it
// when it closes the connection or replaces it; from then on what its operations still report
// belongs to nobody. Holds the memory of its operations: once it is made, none of them can fail for
// lack of memory. Lives on the loop's thread, except that the open socket is also written to
// from other threads under the transport's write mutex.
class TcpLink : public std::enable_shared_from_this<TcpLink> {
  public:
    using Socket = asio::basic_stream_socket<asio::ip::tcp, asio::io_context::executor_type>;
    using Endpoints = std::vector<asio::ip::tcp::endpoint>;
    using Done = std::function<void(const std::error_code&)>;

    explicit TcpLink(asio::io_service& io) : socket_(io) {}

    Socket& socket() { return socket_; }
    bool live() const { return live_; }
    // For one read and one wait to write at a time.
    HandlerMemory& readMemory() { return readMemory_; }
    HandlerMemory& writeMemory() { return writeMemory_; }

    // Connects to the endpoints in their order until one accepts, then calls `done` from the loop
    // with success, or with the error of the last one. A retired link calls nothing.
    void dial(Endpoints endpoints, Done done);
    // Closes the socket and disowns its operations.
    void retire();

  private:
    void dialNext(std::size_t index, std::error_code last);
    void dialed(std::size_t index, const std::error_code& error);
    void finish(const std::error_code& error);

    Socket socket_;
    bool live_ = true;
    Endpoints endpoints_;
    Done done_;
    HandlerMemory dialMemory_;
    HandlerMemory readMemory_;
    HandlerMemory writeMemory_;
};

}  // namespace lumo
