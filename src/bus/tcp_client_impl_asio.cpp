//     start -> connect -> log in -> read -> on data -> read ...    heartbeat, every period
//                 ^          |       |                             idle check: two periods without
//                 |          v       v                             received data close it
//                 +-- reconnect delay <-- any failure or close
//
// Each attempt is a TcpConnection of its own, so nothing queued for one connection reaches the
// next. Only the loop's thread replaces it; other threads take a reference under a mutex that is
// held for no longer, and a replaced connection refuses their messages.

#include "bus/tcp_client_impl_asio.h"

#include <csignal>
#include <new>
#include <utility>

#include <asio/error.hpp>
#include <asio/post.hpp>

#include "bus/clock.h"
#include "bus/resolve.h"
#include "util/trace.h"

namespace lumo {

namespace {

// Nagle's algorithm stays on.
constexpr bool kNoDelay = false;

bool isPort(std::int32_t port) {
    return port > 0 && port < 65536;
}

}  // namespace

TCPClientImplAsio::TCPClientImplAsio(asio::io_service& io, std::string host, std::int32_t port)
    : io_(io),
      signals_(io, SIGINT, SIGTERM, SIGQUIT),
      endpoint_{std::move(host), port},
      idle_(io, [this] { checkIdle(); }),
      reconnect_(io, [this] { connect(); }),
      undecided_(io, [this] { connectDone(asio::error::timed_out); }),
      stop_(std::make_shared<SharedOperation<TCPClientImplAsio>>(this)) {}

TCPClientImplAsio::~TCPClientImplAsio() {
    stop_->owner = nullptr;
    replaceConnection(nullptr);
}

std::shared_ptr<TcpConnection> TCPClientImplAsio::connection() const {
    const std::lock_guard lock(connectionMutex_);
    return connection_;
}

void TCPClientImplAsio::replaceConnection(std::shared_ptr<TcpConnection> next) {
    {
        const std::lock_guard lock(connectionMutex_);
        connection_.swap(next);
    }
    if (next) {
        next->close();
    }
}

bool TCPClientImplAsio::connected() const {
    const auto current = connection();
    return current && current->isOpen();
}

std::error_code TCPClientImplAsio::send(std::span<std::string> parts) {
    const auto current = connection();
    if (!current) {
        return make_error_code(std::errc::not_connected);
    }
    Batch* const batch = Batch::find(*this);
    return batch != nullptr ? batch->send(current, parts) : current->send(parts);
}

bool TCPClientImplAsio::refuses(std::size_t bytes) const {
    const auto current = connection();
    return !current || current->refuses(bytes);
}

void TCPClientImplAsio::flush() {
    if (Batch* const batch = Batch::find(*this)) {
        batch->handOver();
    }
    if (const auto current = connection()) {
        current->flush();
    }
}

std::size_t TCPClientImplAsio::gathered() const {
    const Batch* const batch = Batch::find(*this);
    return batch != nullptr ? batch->bytes() : 0;
}

void TCPClientImplAsio::setHeartbeat(std::chrono::milliseconds period, std::function<void()> beat) {
    heartbeatPeriod_ = period;
    heartbeat_.emplace(io_, [this, beat = std::move(beat)] {
        try {
            beat();
        } catch (const std::bad_alloc&) {
            // The next beat may find memory again.
        }
        doHeartbeat();
    });
    if (connection_) {
        doHeartbeat();
    }
}

void TCPClientImplAsio::doHeartbeat() {
    if (heartbeat_) {
        heartbeat_->arm(heartbeatPeriod_);
    }
}

void TCPClientImplAsio::start() {
    signals_.async_wait([stop = stop_](const std::error_code& error, int) {
        if (stop->owner != nullptr && !error) {
            stop->owner->handleSignal();
        }
    });
    reserveTimers();
    connect();
}

// From here on arming takes no memory: the loop keeps room for as many timers as ever waited.
void TCPClientImplAsio::reserveTimers() {
    std::vector<Timer*> timers{&idle_, &reconnect_, &undecided_};
    if (heartbeat_) {
        timers.push_back(&*heartbeat_);
    }
    for (Timer* const timer : timers) {
        timer->arm(std::chrono::hours(1));
    }
    for (Timer* const timer : timers) {
        timer->cancel();
    }
}

void TCPClientImplAsio::stop() {
    if (stopping_.exchange(true)) {
        return;
    }
    asio::post(io_, [stop = stop_] {
        if (stop->owner != nullptr) {
            stop->owner->replaceConnection(nullptr);
            stop->owner->endActivity();
        }
    });
}

void TCPClientImplAsio::handleSignal() {
    if (connected()) {
        connection_->drain();
    } else {
        replaceConnection(nullptr);
    }
    endActivity();
}

void TCPClientImplAsio::endActivity() {
    stopped_ = true;
    idle_.cancel();
    reconnect_.cancel();
    undecided_.cancel();
    heartbeat_.reset();
    signals_.cancel();
}

void TCPClientImplAsio::connect() {
    if (stopped_) {
        return;
    }
    if (!isPort(endpoint_.port)) {
        scheduleReconnect();
        return;
    }
    try {
        startAttempt();
    } catch (const std::bad_alloc&) {
        close("no memory");
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::not_enough_memory) {
            throw;
        }
        close("no memory");
    }
}

void TCPClientImplAsio::startAttempt() {
    replaceConnection(nullptr);
    TcpConnection::Endpoints addresses = resolve(endpoint_.host, endpoint_.port);
    const auto attempt = std::make_shared<TcpConnection>(io_, static_cast<Owner&>(*this));
    replaceConnection(attempt);
    undecided_.arm(connectLimit_);
    if (onConnecting_) {
        onConnecting_(endpoint_);
    }
    attempt->connect(std::move(addresses));
}

void TCPClientImplAsio::connectDone(const std::error_code& error) {
    if (stopped_) {
        return;
    }
    undecided_.cancel();
    const auto attempt = connection_;
    if (error) {
        replaceConnection(nullptr);
    }
    try {
        const Batch login(*this, attempt);
        reportOutcome(error);
    } catch (const std::bad_alloc&) {
        close("no memory");  // an incomplete login is useless
        return;
    }
    if (error) {
        scheduleReconnect();
    } else if (connection_ == attempt) {
        beginSession();
    }
}

void TCPClientImplAsio::reportOutcome(const std::error_code& error) {
    const std::error_code verdict = onConnect_ ? onConnect_(error) : std::error_code();
    if (verdict) {
        util::traceError("%s - connectHandler Error: %s to %s:%d\n", name_.c_str(),
                         verdict.message().c_str(), endpoint_.host.c_str(), endpoint_.port);
    }
}

void TCPClientImplAsio::beginSession() {
    connection_->setNoDelay(kNoDelay);
    connection_->open();
    idle_.cancel();
    doHeartbeat();
    startReading();
}

void TCPClientImplAsio::scheduleReconnect() {
    // A pending one is left alone, or errors that keep coming would push it away for ever.
    if (!stopped_ && !reconnect_.armed()) {
        reconnect_.arm(reconnectDelay_);
    }
}

void TCPClientImplAsio::pauseReading() {
    paused_ = true;
    idle_.cancel();
}

void TCPClientImplAsio::resumeReading() {
    if (!std::exchange(paused_, false) || stopped_) {
        return;
    }
    const bool deferred = std::exchange(readDeferred_, false);
    if (!connected()) {
        return;
    }
    if (deferred) {
        startReading();
    } else {
        awaitBytes();  // a read is under way
    }
}

void TCPClientImplAsio::awaitBytes() {
    lastReceive_ = monotonicNanoseconds();
    // Under way, the idle timer notices the new read start by itself when it expires: no chunk
    // costs a timer call.
    if (!idle_.armed()) {
        startIdleTimer();
    }
}

void TCPClientImplAsio::startReading() {
    if (stopped_) {
        return;
    }
    readDeferred_ = paused_;
    if (!paused_) {
        awaitBytes();
        connection_->read(asio::buffer(received_));
    }
}

void TCPClientImplAsio::readDone(const std::error_code& error, std::size_t count) {
    if (stopped_ || error == asio::error::operation_aborted) {
        return;
    }
    if (error) {
        close("read error");
        return;
    }
    const auto current = connection_;
    if (onData_) {
        const Batch batch(*this);
        onData_(received_.data(), count, endpoint_);
    }
    if (connection_ == current) {
        startReading();
    }
}

void TCPClientImplAsio::checkIdle() {
    if (stopped_) {
        return;
    }
    const std::chrono::nanoseconds elapsed(monotonicNanoseconds() - lastReceive_);
    if (elapsed >= 2 * idlePeriod_) {
        util::traceError("%s - TCP Client: socket no response. Closing.\n", name_.c_str());
        close("no resp timeout");
        return;
    }
    if (elapsed >= idlePeriod_ && onIdle_) {
        onIdle_();
    }
    const std::chrono::nanoseconds next = elapsed < idlePeriod_ ? idlePeriod_ : 2 * idlePeriod_;
    if (connected()) {
        idle_.arm(next - elapsed);
    }
}

void TCPClientImplAsio::close(const std::string& reason) {
    if (stopped_) {
        return;
    }
    if (onClose_) {
        onClose_(reason);
    }
    replaceConnection(nullptr);
    idle_.cancel();
    undecided_.cancel();
    if (heartbeat_) {
        heartbeat_->cancel();
    }
    scheduleReconnect();
}

}  // namespace lumo
