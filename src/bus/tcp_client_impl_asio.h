#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include <asio/io_service.hpp>
#include <asio/signal_set.hpp>

#include "bus/tcp_link.h"
#include "bus/tcp_sender.h"
#include "bus/timer.h"

namespace lumo {

// One outgoing TCP connection, kept alive for the life of the process.
//
//     start -> connect -> greet -> read -> on data -> read ...     heartbeat, every period
//                 ^          |       |                             idle check: two periods without
//                 |          v       v                               received data close it
//                 +-- reconnect delay <-- any failure or close
//
// Made, used and destroyed on the thread that runs the I/O service, which also calls every
// callback; stop(), send(), flush() and batches are for any thread. By exception leave start() or
// the loop: asio::system_error "resolve" and "set_option", and a monotonic clock that fails.
class TCPClientImplAsio {
  public:
    struct IpDetails {
        std::string host;  // a name or a dotted address
        std::int32_t port = 0;
    };
    using Batch = TcpSender::Batch;
    using OnConnecting = std::function<void(const IpDetails&)>;
    using OnConnect = std::function<std::error_code(std::error_code)>;
    using OnData = std::function<void(const char*, std::size_t, const IpDetails&)>;
    using OnIdle = std::function<void()>;
    using OnClose = std::function<void(const std::string&)>;

    TCPClientImplAsio(asio::io_service& io, std::string host, std::int32_t port);
    ~TCPClientImplAsio();
    TCPClientImplAsio(const TCPClientImplAsio&) = delete;
    TCPClientImplAsio& operator=(const TCPClientImplAsio&) = delete;

    // The owning module; each line on standard error begins with it.
    void setName(std::string name) { name_ = std::move(name); }
    // Called before each connect.
    void setOnConnecting(OnConnecting call) { onConnecting_ = std::move(call); }
    // Called with the outcome of each attempt. What it sends on success is the first that the new
    // connection carries. An error that it returns is printed and changes nothing.
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
    // no memory for a reason of up to 15 characters, so it serves whoever has none left.
    void close(const std::string& reason);
    bool connected() const { return sender_.isOpen(); }

    // See TcpSender::send().
    std::error_code send(std::span<std::string> parts) { return sender_.send(parts); }
    // See TcpSender::refuses().
    bool refuses(std::size_t bytes) const { return sender_.refuses(bytes); }
    // See TcpSender::flush().
    void flush() { sender_.flush(); }
    // What this thread sends until the result is destroyed is written together.
    Batch gather() { return Batch(sender_); }
    // See TcpSender::gathered().
    std::size_t gathered() const { return sender_.gathered(); }

    // Starts no further read; one under way still delivers. Nothing else stops, and nobody is
    // blamed for silence meanwhile. The loop's thread, also from a callback.
    void pauseReading();
    // Reads on, on the connection that there is by now. Both are harmless when they change nothing.
    void resumeReading();

    // Arms the heartbeat timer, when a heartbeat is set.
    void doHeartbeat();
    // Arms the idle timer.
    void startIdleTimer() { idle_.arm(idlePeriod_); }

  private:
    using Link = std::shared_ptr<TcpLink>;
    struct Heartbeat {
        Heartbeat(asio::io_service& io, std::chrono::milliseconds every, std::function<void()> beat)
            : period(every), timer(io, std::move(beat)) {}
        std::chrono::milliseconds period;
        Timer timer;
    };

    const IpDetails& endpoint() const { return endpoints_[current_]; }
    void reserveTimers();
    void connect();
    void dial();
    TcpLink::Endpoints resolve() const;
    void connectDone(const Link& link, const std::error_code& error);
    void greet(const std::error_code& error);
    void beginSession(const Link& link);
    void scheduleReconnect();
    void endActivity();
    void startReading(const Link& link);
    void readDone(const Link& link, const std::error_code& error, std::size_t count);
    void awaitBytes();
    void checkIdle();

    asio::io_service& io_;
    asio::signal_set signals_;
    std::vector<IpDetails> endpoints_;
    std::size_t current_ = 0;
    TcpSender sender_;
    Timer idle_;
    std::chrono::milliseconds idlePeriod_{5000};
    std::chrono::milliseconds reconnectDelay_{1000};
    Timer reconnect_;  // armed: a reconnect is pending
    std::chrono::milliseconds connectLimit_{2000};
    Timer undecided_;  // armed: the attempt is under way
    Link attempt_;     // the latest
    std::optional<Heartbeat> heartbeat_;
    bool stopped_ = false;
    std::string name_;
    std::int64_t lastReceive_ = 0;  // monotonic nanoseconds of the last read start
    bool paused_ = false;
    Link heldBack_;  // its next read begins when reading is resumed
    bool noDelay_ = false;
    std::array<char, 8192> received_{};
    OnConnecting onConnecting_;
    OnConnect onConnect_;
    OnData onData_;
    OnIdle onIdle_;
    OnClose onClose_;
    std::atomic<bool> stopping_{false};
    // What was posted or waits for a signal holds it weakly and does nothing once it is gone.
    std::shared_ptr<TCPClientImplAsio> self_{this, [](TCPClientImplAsio*) {}};
};

}  // namespace lumo
