#include "bus/tcp_link.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include <asio/error.hpp>
#include <asio/post.hpp>

namespace lumo {

namespace {

// asio opens its sockets without close-on-exec, and a command left running in the background would
// then hold the bus connection.
std::error_code open(TcpLink::Socket& socket, const asio::ip::tcp& protocol) {
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

// While nobody listens at a port of this machine, the kernel may pick that very port for the
// caller's end, and the two ends of one socket meet (RFC 9293, 3.5, simultaneous open). The bus
// could never listen there again.
bool isItsOwnPeer(const TcpLink::Socket& socket) {
    std::error_code unknown;
    const asio::ip::tcp::endpoint local = socket.local_endpoint(unknown);
    return !unknown && local == socket.remote_endpoint(unknown) && !unknown;
}

}  // namespace

void TcpLink::dial(Endpoints endpoints, Done done) {
    if (!live_) {
        return;
    }
    endpoints_ = std::move(endpoints);
    done_ = std::move(done);
    dialNext(0, asio::error::not_found);
}

void TcpLink::dialNext(std::size_t index, std::error_code last) {
    for (; index < endpoints_.size(); ++index) {
        last = open(socket_, endpoints_[index].protocol());
        if (last) {
            continue;
        }
        socket_.async_connect(endpoints_[index],
                              HandlerInMemory(dialMemory_, [self = shared_from_this(),
                                                            index](const std::error_code& error) {
                                  self->dialed(index, error);
                              }));
        return;
    }
    asio::post(
        socket_.get_executor(),
        HandlerInMemory(dialMemory_, [self = shared_from_this(), last] { self->finish(last); }));
}

void TcpLink::dialed(std::size_t index, const std::error_code& error) {
    std::error_code outcome = error;
    if (live_ && !error && isItsOwnPeer(socket_)) {
        // Reset, so that the port is free at once.
        socket_.set_option(asio::socket_base::linger(true, 0), outcome);
        outcome = asio::error::connection_refused;
    }
    if (live_ && outcome) {
        dialNext(index + 1, outcome);
    } else {
        finish(outcome);
    }
}

void TcpLink::finish(const std::error_code& error) {
    // Taken out first: what it calls may retire this link.
    const Done done = std::exchange(done_, nullptr);
    if (live_) {
        done(error);
    }
}

void TcpLink::retire() {
    live_ = false;
    done_ = nullptr;  // it may hold this link
    std::error_code ignored;
    socket_.close(ignored);
}

}  // namespace lumo
