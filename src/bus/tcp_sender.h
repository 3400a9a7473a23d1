#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "bus/tcp_link.h"
#include "bus/write_queue.h"

namespace lumo {

// The sending half of the transport: the socket, what waits to be written to it, and the write
// mutex around both.
//
// send(), flush() and batches belong to any thread; everything else to the loop's thread. The
// mutex covers making, replacing and closing the socket and each start of a read or write, so that
// a write may start on any thread. At most one write is in flight. Its first system call is made by
// the thread that starts it: an announcement has left before the command that follows it.
class TcpSender {
  public:
    using WriteFailed = std::function<void()>;

    // While it lives, what its own thread sends is kept in it, out of reach of every other thread;
    // its end queues and writes that together, for with Nagle's algorithm on a second small write
    // would wait for the peer to acknowledge the first. Batches of one thread nest: the outermost
    // keeps and writes. What was sent to a connection that is gone by then is dropped.
    class [[nodiscard]] Batch {
      public:
        // More bytes than these are flushed at once.
        static constexpr std::size_t kMostBytes = std::size_t{4} * 1024 * 1024;

        explicit Batch(TcpSender& sender);
        ~Batch();
        Batch(const Batch&) = delete;
        Batch& operator=(const Batch&) = delete;

      private:
        friend class TcpSender;
        void keep(std::span<std::string> parts, std::uint64_t connection);

        TcpSender& sender_;
        Batch* outer_;
        std::vector<std::vector<std::string>> messages_;  // the strings of each send
        std::size_t bytes_ = 0;
        std::uint64_t connection_ = 0;  // that they were sent to
    };

    // `failed` is called from the loop when a write to the current socket failed.
    explicit TcpSender(WriteFailed failed) : failed_(std::move(failed)) {}
    // Retires the socket.
    ~TcpSender() { detach(); }
    TcpSender(const TcpSender&) = delete;
    TcpSender& operator=(const TcpSender&) = delete;

    // Queues the strings, to be written back to back, and moves from them. On an error (generic
    // category) they stay the caller's: 107 without a socket, 105 when more than 1000 strings wait
    // behind a write in flight or for the connection, or when these would make it more than 4 MiB.
    // What a batch keeps meets those limits at its flush or end: each send then goes out or is
    // dropped as a whole.
    std::error_code send(std::span<std::string> parts);
    // Starts writing what is queued, with what the batch of this thread has kept so far.
    void flush();
    // Whether so many bytes would find no socket, or no room behind a write in flight.
    bool refuses(std::size_t bytes) const;
    // How many bytes the batch of this thread keeps.
    std::size_t gathered() const;

    // The socket of a new attempt. What is sent from now on waits for endGreeting().
    void attach(std::shared_ptr<TcpLink> link);
    // The connection is made: what this thread sends now goes out first.
    void beginGreeting();
    // Opens the connection for everything that waits.
    void endGreeting();
    // Ends what the loop does for an open connection: what is sent from now on is written at once
    // or not at all. A connection that is not open yet is detached.
    void drain();
    // Retires the socket and drops everything queued for it: from now on there is none.
    void detach();

    bool hasSocket() const;
    bool isOpen() const;

    // Calls `use` with the connected socket, or not at all, under the write mutex.
    template <typename Use>
    void withSocket(Use use) {
        const std::lock_guard lock(mutex_);
        if (phase_ == Phase::greeting || phase_ == Phase::open) {
            use(link_->socket());
        }
    }

  private:
    // What there is to send to.
    enum class Phase {
        none,        // No socket: never connected, failed, closed or stopped. A send is refused.
        connecting,  // The peer has not accepted yet. What is sent is kept aside.
        greeting,    // Accepted: what the greeting thread sends goes ahead of what was kept aside.
        open,        // What is sent is written.
        draining,    // The loop has stopped: what is sent is written as far as there is room.
    };

    Batch* batch() const;
    bool greeting() const;
    void handOver(Batch& batch);
    void offer(std::span<std::string> parts);
    std::error_code queue(std::span<std::string> parts);
    void close();
    void returnMemory();
    void startWriting();
    void writeOn();
    void waitToWrite(const std::error_code& error);
    void writable(const std::error_code& error);

    const WriteFailed failed_;

    mutable std::mutex mutex_;
    // Guarded by the mutex.
    std::shared_ptr<TcpLink> link_;
    Phase phase_ = Phase::none;
    std::uint64_t connection_ = 0;  // counts the attempts
    std::thread::id greeter_;
    WriteQueue queue_;
    bool large_ = false;  // so much was queued that its memory is given back when it is written
};

}  // namespace lumo
