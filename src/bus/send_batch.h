#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace lumo {

class TCPClientImplAsio;
class TcpConnection;

// While it lives, what its own thread sends to the client is kept in it, out of reach of every
// other thread; its end queues and writes that together, for with Nagle's algorithm on a second
// small write would wait for the peer to acknowledge the first. Batches of one thread nest: the
// outermost keeps and writes. What was sent to a connection that is gone by then is dropped; each
// message meets the limits of TcpConnection::send() only then, and goes out or is dropped as a
// whole.
class [[nodiscard]] SendBatch {
  public:
    // More bytes than these are handed over at once.
    static constexpr std::size_t kMaxBytes = std::size_t{4} * 1024 * 1024;

    explicit SendBatch(TCPClientImplAsio& client);
    ~SendBatch();
    SendBatch(const SendBatch&) = delete;
    SendBatch& operator=(const SendBatch&) = delete;

    // The outermost of this thread for the client, null when there is none.
    static SendBatch* find(const TCPClientImplAsio& client);

    // Keeps one message, moving from its strings, and forgets those for an earlier connection.
    void keep(const std::shared_ptr<TcpConnection>& connection, std::span<std::string> parts);
    // Passes the kept messages to the connection.
    void handOver();
    // The number of kept bytes.
    std::size_t bytes() const { return bytes_; }

  private:
    TCPClientImplAsio& client_;
    SendBatch* const outer_;
    std::shared_ptr<TcpConnection> connection_;       // that the messages were sent to
    std::vector<std::vector<std::string>> messages_;  // the strings of each
    std::size_t bytes_ = 0;
};

}  // namespace lumo
