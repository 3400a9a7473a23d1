#include "bus/tcp_client_impl_asio.h"

#include <csignal>
#include <cstdio>
#include <new>
#include <thread>
#include <utility>

#include <asio/error.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>

#include "bus/clock.h"
#include "util/trace.h"

namespace lumo {

namespace {

using std::chrono::nanoseconds;

bool isPort(std::int32_t port) {
    return port > 0 && port < 65536;
}

}  // namespace

TCPClientImplAsio::TCPClientImplAsio(asio::io_service& io, std::string host, std::int32_t port)
    : io_(io),
      signals_(io, SIGINT, SIGTERM, SIGQUIT),
      endpoints_{IpDetails{std::move(host), port}},
      sender_([this] { close("write error"); }),
      idle_(io, [this] { checkIdle(); }),
      reconnect_(io, [this] { connect(); }),
      undecided_(io, [this] { connectDone(Link(attempt_), asio::error::timed_out); }) {}

TCPClientImplAsio::~TCPClientImplAsio() = default;

void TCPClientImplAsio::setHeartbeat(std::chrono::milliseconds period, std::function<void()> beat) {
    heartbeat_.emplace(io_, period, [this, beat = std::move(beat)] {
        try {
            beat();
        } catch (const std::bad_alloc&) {
            // The next beat may find memory again.
        }
        doHeartbeat();
    });
    if (sender_.hasSocket()) {
        doHeartbeat();
    }
}

void TCPClientImplAsio::doHeartbeat() {
    if (heartbeat_) {
        heartbeat_->timer.arm(heartbeat_->period);
    }
}

void TCPClientImplAsio::start() {
    signals_.async_wait([weak = std::weak_ptr(self_)](const std::error_code& error, int) {
        const auto self = weak.lock();
        if (self && !error) {
            self->sender_.drain();
            self->endActivity();
        }
    });
    reserveTimers();
    connect();
}

// From here on arming takes no memory: the loop keeps room for as many timers as ever waited.
void TCPClientImplAsio::reserveTimers() {
    std::vector<Timer*> timers{&idle_, &reconnect_, &undecided_};
    if (heartbeat_) {
        timers.push_back(&heartbeat_->timer);
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
    asio::post(io_, [weak = std::weak_ptr(self_)] {
        if (const auto self = weak.lock()) {
            self->sender_.detach();
            self->endActivity();
        }
    });
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
    if (!isPort(endpoint().port)) {
        scheduleReconnect();
        return;
    }
    try {
        dial();
    } catch (const std::bad_alloc&) {
        close("no memory");
    } catch (const std::system_error& error) {
        if (error.code() != std::errc::not_enough_memory) {
            throw;
        }
        close("no memory");
    }
}

void TCPClientImplAsio::dial() {
    sender_.detach();
    TcpLink::Endpoints addresses = resolve();
    const auto link = std::make_shared<TcpLink>(io_);
    sender_.attach(link);
    attempt_ = link;
    undecided_.arm(connectLimit_);
    if (onConnecting_) {
        onConnecting_(endpoint());
    }
    link->dial(std::move(addresses),
               [this, link](const std::error_code& error) { connectDone(link, error); });
}

TcpLink::Endpoints TCPClientImplAsio::resolve() const {
    char port[sizeof "65535"];
    std::snprintf(port, sizeof port, "%d", endpoint().port);
    TcpLink::Endpoints addresses;
    for (const auto& entry : asio::ip::tcp::resolver(io_).resolve(endpoint().host, port)) {
        addresses.push_back(entry.endpoint());
    }
    return addresses;
}

void TCPClientImplAsio::connectDone(const Link& link, const std::error_code& error) {
    if (stopped_) {
        return;
    }
    undecided_.cancel();
    error ? sender_.detach() : sender_.beginGreeting();
    try {
        greet(error);
    } catch (const std::bad_alloc&) {
        close("no memory");  // half a greeting is none
        return;
    }
    if (error) {
        scheduleReconnect();
    } else if (link->live()) {
        beginSession(link);
    }
}

void TCPClientImplAsio::greet(const std::error_code& error) {
    const std::error_code verdict = onConnect_ ? onConnect_(error) : std::error_code();
    if (verdict) {
        util::traceError("%s - connectHandler Error: %s to %s:%d\n", name_.c_str(),
                         verdict.message().c_str(), endpoint().host.c_str(), endpoint().port);
    }
}

void TCPClientImplAsio::beginSession(const Link& link) {
    sender_.withSocket(
        [this](TcpLink::Socket& socket) { socket.set_option(asio::ip::tcp::no_delay(noDelay_)); });
    sender_.endGreeting();
    idle_.cancel();
    doHeartbeat();
    startReading(link);
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
    const Link link = std::exchange(heldBack_, nullptr);
    if (link && link->live()) {
        startReading(link);
    } else if (sender_.isOpen()) {
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

void TCPClientImplAsio::startReading(const Link& link) {
    if (stopped_) {
        return;
    }
    if (paused_) {
        heldBack_ = link;
        return;
    }
    awaitBytes();
    sender_.withSocket([this, &link](TcpLink::Socket& socket) {
        socket.async_read_some(
            asio::buffer(received_),
            HandlerInMemory(link->readMemory(),
                            [this, link](const std::error_code& error, std::size_t count) {
                                readDone(link, error, count);
                            }));
    });
}

void TCPClientImplAsio::readDone(const Link& link, const std::error_code& error,
                                 std::size_t count) {
    if (stopped_ || !link->live() || error == asio::error::operation_aborted) {
        return;
    }
    if (error) {
        close("read error");
        return;
    }
    if (onData_) {
        const Batch batch(sender_);
        onData_(received_.data(), count, endpoint());
    }
    if (link->live()) {
        startReading(link);
    }
}

void TCPClientImplAsio::checkIdle() {
    if (stopped_) {
        return;
    }
    const nanoseconds elapsed(monotonicNanoseconds() - lastReceive_);
    if (elapsed >= 2 * idlePeriod_) {
        util::traceError("%s - TCP Client: socket no response. Closing.\n", name_.c_str());
        close("no resp timeout");
        return;
    }
    if (elapsed >= idlePeriod_ && onIdle_) {
        onIdle_();
    }
    const nanoseconds next = elapsed < idlePeriod_ ? idlePeriod_ : 2 * idlePeriod_;
    if (sender_.isOpen()) {
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
    sender_.detach();
    idle_.cancel();
    undecided_.cancel();
    if (heartbeat_) {
        heartbeat_->timer.cancel();
    }
    scheduleReconnect();
}

}  // namespace lumo
