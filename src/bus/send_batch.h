#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <system_error>
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

    // With a connection that is not open yet, what is sent to that one is its login. It is not
    // kept, whatever other batches there are, but queued at once.
    explicit SendBatch(TCPClientImplAsio& client, std::shared_ptr<TcpConnection> login = nullptr);
    ~SendBatch();
    SendBatch(const SendBatch&) = delete;
    SendBatch& operator=(const SendBatch&) = delete;

    // The login's, or else the outermost, of this thread for the client; null when there is none.
    static SendBatch* find(const TCPClientImplAsio& client);

    // Keeps one message, moving from its strings, and forgets those for an earlier connection. The
    // errors are those of TcpConnection::sendLogin(); a message that is kept gives none.
    std::error_code send(const std::shared_ptr<TcpConnection>& connection,
                         std::span<std::string> parts);
    // Passes the kept messages to the connection.
    void handOver();
    // The number of kept bytes.
    std::size_t bytes() const { return bytes_; }

  private:
    void keep(const std::shared_ptr<TcpConnection>& connection, std::span<std::string> parts);

    TCPClientImplAsio& client_;
    SendBatch* const outer_;
    const std::shared_ptr<TcpConnection> login_;      // the connection that logs in, if any
    std::shared_ptr<TcpConnection> connection_;       // that the messages were sent to
    std::vector<std::vector<std::string>> messages_;  // the strings of each
    std::size_t bytes_ = 0;
};

}  // namespace lumo
