#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <system_error>
#include <vector>

#include <asio/basic_stream_socket.hpp>
#include <asio/buffer.hpp>
#include <asio/io_context.hpp>
#include <asio/io_service.hpp>
#include <asio/ip/tcp.hpp>

#include "bus/handler_memory.h"
#include "bus/write_queue.h"

namespace lumo {

// One connection attempt, and the connection that comes of it: the socket, its phase, what waits to
// be written to it, and the write mutex around all three.
//
// The sends, flush() and the questions are for any thread, everything else is for the
// loop's thread, which also calls the owner. The mutex covers each phase change and each start of a
// read or a write, so a write may start on any thread. At most one write is in flight. Its first
// system call is made by the thread that starts it: an announcement has left before the command
// that follows it.
//
// Every operation under way shares ownership of the connection, which holds the memory of its
// operations: once it is made, none of them can fail for lack of memory.
class TcpConnection : public std::enable_shared_from_this<TcpConnection> {
  public:
    using Socket = asio::basic_stream_socket<asio::ip::tcp, asio::io_context::executor_type>;
    using Endpoints = std::vector<asio::ip::tcp::endpoint>;

    // Hears from the connection until it closes it.
    class Owner {
      public:
        // The attempt succeeded, or failed with this error.
        virtual void connectDone(const std::error_code& error) = 0;
        virtual void readDone(const std::error_code& error, std::size_t count) = 0;
        virtual void writeFailed() = 0;

      protected:
        ~Owner() = default;
    };

    TcpConnection(asio::io_service& io, Owner& owner) : owner_(&owner), socket_(io) {}

    // Tries the endpoints in their order until one accepts; the error is that of the last one.
    // Strings sent from now on wait for open(). Does nothing after close().
    void connect(Endpoints endpoints);
    // Throws asio::system_error "set_option".
    void setNoDelay(bool on);
    // The peer has accepted and the login is complete: writes the login, then everything that
    // waits.
    void open();
    // Reads once into the buffer, which outlives the connection. Only while it is open.
    void read(asio::mutable_buffer buffer);
    // Ends what the loop does for an open connection: what is queued and what is sent from now on
    // is written at once, as far as there is room, with each send.
    void drain();
    // Closes the socket, drops everything queued for it, and forgets the owner.
    void close();

    // Queues the strings, to be written back to back, and moves from them. On an error (generic
    // category) they stay the caller's: 107 after close(), 105 when more than 1000 strings wait for
    // a write in flight or for the connection, or when these would make it more than 4 MiB.
    std::error_code send(std::span<std::string> parts);
    // Queues the strings of a message of the login, which goes out ahead of everything else that
    // waits. Before open(). On an error they stay the caller's: 107 after close(), 105 when more
    // than 1000 strings of the login wait.
    std::error_code sendLogin(std::span<std::string> parts);
    // Queues the messages and writes them together. A message that finds no room is dropped as a
    // whole.
    void sendAll(std::span<std::vector<std::string>> messages);
    // Starts writing what is queued.
    void flush();
    // Whether so many bytes would find no socket, or no room after a write in flight.
    bool refuses(std::size_t bytes) const;
    bool isOpen() const;

  private:
    enum class Phase {
        connecting,  // Until the login is complete. What is sent is kept aside.
        open,        // What is sent is written.
        draining,    // The loop has stopped: what is sent is written as far as there is room.
        closed,      // A send is refused.
    };

    void connectToNext(std::size_t index, std::error_code last);
    void connected(std::size_t index, const std::error_code& error);
    void finishAttempt(const std::error_code& error);
    std::error_code queue(std::span<std::string> parts);
    void offer(std::span<std::string> parts);
    void returnMemory();
    void startWriting();
    void writeOn();
    void waitToWrite(const std::error_code& error);
    void writable(const std::error_code& error);

    Owner* owner_;  // null: closed, what its operations still report concerns nobody
    Endpoints endpoints_;
    HandlerMemory connectMemory_;
    HandlerMemory readMemory_;
    HandlerMemory writeMemory_;

    mutable std::mutex mutex_;
    // Guarded by the mutex, the socket while other threads may write to it.
    Socket socket_;
    Phase phase_ = Phase::connecting;
    WriteQueue queue_;
    bool large_ = false;  // so much was queued that its memory is given back when it is written
};

}  // namespace lumo
