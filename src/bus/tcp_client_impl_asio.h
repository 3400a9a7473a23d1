#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <asio/io_service.hpp>

#include "bus/send_batch.h"
#include "bus/signal_set.h"
#include "bus/tcp_connection.h"
#include "bus/timer.h"

namespace lumo {

// One outgoing TCP connection, kept alive for the life of the process.
//
// Made, used and destroyed on the thread that runs the I/O service, which also calls every
// callback; stop(), send(), flush() and batches are for any thread. start() and the loop throw
// asio::system_error "resolve" and "set_option", and a monotonic clock that fails.
class TCPClientImplAsio final : private TcpConnection::Owner {
  public:
    struct IpDetails {
        std::string host;  // a name or a dotted address
        std::int32_t port = 0;
    };
    using Batch = SendBatch;
    using OnConnecting = std::function<void(const IpDetails&)>;
    using OnConnect = std::function<std::error_code(std::error_code)>;
    using OnData = std::function<void(const char*, std::size_t, const IpDetails&)>;
    using OnIdle = std::function<void()>;
    using OnClose = std::function<void(const std::string&)>;

    TCPClientImplAsio(asio::io_service& io, std::string host, std::int32_t port);
    ~TCPClientImplAsio();

    // The owning module; each line on standard error begins with it.
    void setName(std::string name) { name_ = std::move(name); }
    // Called before each connect.
    void setOnConnecting(OnConnecting call) { onConnecting_ = std::move(call); }
    // Called with the outcome of each attempt. What it sends on success is the login, the first
    // that the new connection carries. An error that it returns is printed and changes nothing.
    void setOnConnect(OnConnect call) { onConnect_ = std::move(call); }
    // Called with each received chunk. What it sends is written together when it returns.
    void setOnData(OnData call) { onData_ = std::move(call); }
    // Called when nothing was received for one idle period.
    void setOnIdle(OnIdle call) { onIdle_ = std::move(call); }
    // Called with the reason each time close() drops the connection.
    void setOnClose(OnClose call) { onClose_ = std::move(call); }
    // Calls `beat` every `period` after each connect, and from now on when a socket exists.
    void setHeartbeat(std::chrono::milliseconds period, std::function<void()> beat);
    void setIdlePeriod(std::chrono::milliseconds period) { idlePeriod_ = period; }
    // An attempt that is not decided after this time has failed.
    void setConnectLimit(std::chrono::milliseconds limit) { connectLimit_ = limit; }
    void setReconnectDelay(std::chrono::milliseconds delay) { reconnectDelay_ = delay; }
    std::chrono::milliseconds idlePeriod() const { return idlePeriod_; }
    std::chrono::milliseconds reconnectDelay() const { return reconnectDelay_; }

    // Waits for the stop signals (SIGINT, SIGTERM, SIGQUIT) and makes the first attempt. The first
    // signal ends all activity, but leaves an open connection to other threads: what they still
    // send is written as far as the socket takes it at once, until this client is destroyed.
    void start();
    // Has the loop close the connection and end all activity for good.
    void stop();
    // Drops the connection or the attempt; the next attempt comes after the reconnect delay. Takes
    // no memory for a reason of up to 15 characters, so it serves callers that have none left.
    void close(const std::string& reason);
    bool connected() const;

    // See TcpConnection::send(); 107 also without a connection. 0 for a message kept by a batch.
    std::error_code send(std::span<std::string> parts);
    // Whether so many bytes would find no socket, or no room after a write in flight.
    bool refuses(std::size_t bytes) const;
    // Starts writing what is queued, with what the batch of this thread has kept so far.
    void flush();
    // Messages that this thread sends until the result is destroyed are written together.
    Batch gather() { return Batch(*this); }
    // The number of bytes that the batch of this thread keeps.
    std::size_t gathered() const;

    // Starts no further read; a pending read still delivers. Nothing else stops, and the idle time
    // of the peer does not count. The loop's thread, also from a callback.
    void pauseReading();
    // Reads on, on the current connection. Both are harmless when they change nothing.
    void resumeReading();

    // Arm the heartbeat timer, when a heartbeat is set, and the idle timer.
    void doHeartbeat();
    void startIdleTimer() { idle_.arm(idlePeriod_); }

  private:
    std::shared_ptr<TcpConnection> connection() const;
    void replaceConnection(std::shared_ptr<TcpConnection> next);
    void reserveTimers();
    void connect();
    void startAttempt();
    void connectDone(const std::error_code& error) override;
    void reportOutcome(const std::error_code& error);
    void beginSession();
    void scheduleReconnect();
    void handleSignal();
    void endActivity();
    void startReading();
    void readDone(const std::error_code& error, std::size_t count) override;
    void writeFailed() override { close("write error"); }
    void awaitBytes();
    void checkIdle();

    asio::io_service& io_;
    SignalSet signals_;
    const IpDetails endpoint_;
    mutable std::mutex connectionMutex_;
    // Null: none. Replaced by the loop's thread only, under the mutex.
    std::shared_ptr<TcpConnection> connection_;
    Timer idle_;
    Timer reconnect_;  // armed: a reconnect is pending
    Timer undecided_;  // armed: the attempt is under way
    std::optional<Timer> heartbeat_;
    std::chrono::milliseconds idlePeriod_{5000};
    std::chrono::milliseconds reconnectDelay_{1000};
    std::chrono::milliseconds connectLimit_{2000};
    std::chrono::milliseconds heartbeatPeriod_{0};
    bool stopped_ = false;
    bool paused_ = false;
    bool readDeferred_ = false;  // the next read begins when reading is resumed
    std::string name_;
    std::int64_t lastReceive_ = 0;  // monotonic nanoseconds of the last read start
    std::array<char, 8192> received_{};
    OnConnecting onConnecting_;
    OnConnect onConnect_;
    OnData onData_;
    OnIdle onIdle_;
    OnClose onClose_;
    std::atomic<bool> stopping_{false};
    std::shared_ptr<SharedOperation<TCPClientImplAsio>> stop_;  // by signal, or posted
};

}  // namespace lumo
