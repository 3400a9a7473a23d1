// A connection goes through its phases once: connecting, open, and closed. What is sent before it
// is open is kept aside and written after the login, which has an entry of its own.
//
// Each write begins with an attempt on the spot. A socket that takes everything, as it nearly
// always does, leaves nothing for the loop to do; otherwise the loop waits for room and writes on.
// Handlers of the loop hold the connection and check the owner, so that after close() no outcome of
// an operation reaches anybody.

#include "bus/tcp_connection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

#include <asio/error.hpp>
#include <asio/post.hpp>

#include "util/memory.h"

namespace lumo {

namespace {

// asio opens its sockets without close-on-exec, and a command left running in the background would
// then hold the bus connection.
std::error_code openSocket(TcpConnection::Socket& socket, const asio::ip::tcp& protocol) {
    std::error_code error;
    socket.close(error);
    const int descriptor =
        ::socket(protocol.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP);
    if (descriptor == -1) {
        return {errno, std::system_category()};
    }
    if (socket.assign(protocol, descriptor, error)) {
        ::close(descriptor);
        return error;
    }
    // asio must know it too: a write may then be tried without waiting, and no later operation
    // changes the socket object while another thread uses it.
    socket.non_blocking(true, error);
    return error;
}

// While no program listens at a port of this machine, the kernel may pick that very port for the
// caller's end, and the two ends of one socket meet (RFC 9293, 3.5, simultaneous open). The bus
// could never listen there again.
bool isItsOwnPeer(const TcpConnection::Socket& socket) {
    std::error_code unknown;
    const asio::ip::tcp::endpoint local = socket.local_endpoint(unknown);
    return !unknown && local == socket.remote_endpoint(unknown) && !unknown;
}

}  // namespace

void TcpConnection::connect(Endpoints endpoints) {
    if (owner_ != nullptr) {
        endpoints_ = std::move(endpoints);
        connectToNext(0, asio::error::not_found);
    }
}

void TcpConnection::connectToNext(std::size_t index, std::error_code last) {
    for (; index < endpoints_.size(); ++index) {
        last = openSocket(socket_, endpoints_[index].protocol());
        if (last) {
            continue;
        }
        socket_.async_connect(endpoints_[index],
                              HandlerInMemory(connectMemory_, [self = shared_from_this(), index](
                                                                  const std::error_code& error) {
                                  self->connected(index, error);
                              }));
        return;
    }
    asio::post(socket_.get_executor(),
               HandlerInMemory(connectMemory_,
                               [self = shared_from_this(), last] { self->finishAttempt(last); }));
}

void TcpConnection::connected(std::size_t index, const std::error_code& error) {
    std::error_code outcome = error;
    if (owner_ != nullptr && !error && isItsOwnPeer(socket_)) {
        // Reset, so that the port is free at once.
        socket_.set_option(asio::socket_base::linger(true, 0), outcome);
        outcome = asio::error::connection_refused;
    }
    if (owner_ != nullptr && outcome) {
        connectToNext(index + 1, outcome);
    } else {
        finishAttempt(outcome);
    }
}

void TcpConnection::finishAttempt(const std::error_code& error) {
    if (owner_ != nullptr) {
        owner_->connectDone(error);
    }
}

void TcpConnection::setNoDelay(bool on) {
    socket_.set_option(asio::ip::tcp::no_delay(on));
}

void TcpConnection::open() {
    const std::lock_guard lock(mutex_);
    phase_ = Phase::open;
    startWriting();
}

void TcpConnection::read(asio::mutable_buffer buffer) {
    const std::lock_guard lock(mutex_);
    if (phase_ != Phase::open) {
        return;
    }
    socket_.async_read_some(
        buffer, HandlerInMemory(readMemory_, [self = shared_from_this()](
                                                 const std::error_code& error, std::size_t count) {
            if (self->owner_ != nullptr) {
                self->owner_->readDone(error, count);
            }
        }));
}

void TcpConnection::drain() {
    const std::lock_guard lock(mutex_);
    phase_ = Phase::draining;
    std::error_code ignored;
    socket_.cancel(ignored);
}

void TcpConnection::close() {
    owner_ = nullptr;
    const std::lock_guard lock(mutex_);
    phase_ = Phase::closed;
    std::error_code ignored;
    socket_.close(ignored);
    queue_.clear();
    returnMemory();
}

// The login has a limit of its own: what others keep aside must not cost it.
std::error_code TcpConnection::sendLogin(std::span<std::string> parts) {
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::closed) {
        return make_error_code(std::errc::not_connected);
    }
    if (queue_.loginFull()) {
        return make_error_code(std::errc::no_buffer_space);
    }
    queue_.appendToLogin(parts);
    return {};
}

std::error_code TcpConnection::send(std::span<std::string> parts) {
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::closed) {
        return make_error_code(std::errc::not_connected);
    }
    const std::error_code refused = queue(parts);
    if (!refused) {
        startWriting();
    }
    return refused;
}

void TcpConnection::sendAll(std::span<std::vector<std::string>> messages) {
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::closed) {
        return;
    }
    for (std::vector<std::string>& parts : messages) {
        offer(parts);
    }
    startWriting();
}

// The sender has no use for the outcome any more: a message that finds no room or no memory is
// dropped.
void TcpConnection::offer(std::span<std::string> parts) {
    try {
        static_cast<void>(queue(parts));
    } catch (const std::bad_alloc&) {
        return;
    }
}

std::error_code TcpConnection::queue(std::span<std::string> parts) {
    const std::size_t bytes = totalSize(parts);
    if (queue_.full(bytes)) {
        startWriting();  // the limits are for a write that is stuck, not for a long batch
    }
    if (queue_.full(bytes)) {
        return make_error_code(std::errc::no_buffer_space);
    }
    queue_.append(parts);
    large_ = large_ || queue_.bytes() > util::kLargeUse;
    return {};
}

void TcpConnection::flush() {
    const std::lock_guard lock(mutex_);
    startWriting();
}

bool TcpConnection::refuses(std::size_t bytes) const {
    const std::lock_guard lock(mutex_);
    return phase_ == Phase::closed || (queue_.writing() && queue_.full(bytes));
}

bool TcpConnection::isOpen() const {
    const std::lock_guard lock(mutex_);
    return phase_ == Phase::open;
}

void TcpConnection::returnMemory() {
    if (std::exchange(large_, false)) {
        util::returnFreeMemory();
    }
}

void TcpConnection::startWriting() {
    if ((phase_ == Phase::open && !queue_.writing()) || phase_ == Phase::draining) {
        writeOn();
    }
}

// A write stays in flight only if the socket takes no more, or fails.
void TcpConnection::writeOn() {
    std::error_code error;
    while (!error && (queue_.writing() || queue_.waiting())) {
        const auto& slice = queue_.writing() ? queue_.unwritten() : queue_.begin();
        queue_.consume(socket_.write_some(slice, error));
    }
    if (!error) {
        returnMemory();
    } else if (phase_ != Phase::draining) {
        waitToWrite(error == asio::error::would_block ? std::error_code() : error);
    }
}

// A failed socket is always ready, so the loop hears of the error in the same way.
void TcpConnection::waitToWrite(const std::error_code& error) {
    socket_.async_wait(Socket::wait_write,
                       HandlerInMemory(writeMemory_, [self = shared_from_this(),
                                                      error](const std::error_code& waitError) {
                           if (self->owner_ != nullptr) {
                               self->writable(error ? error : waitError);
                           }
                       }));
}

void TcpConnection::writable(const std::error_code& error) {
    if (error) {
        owner_->writeFailed();
        return;
    }
    const std::lock_guard lock(mutex_);
    writeOn();
}

}  // namespace lumo
