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
    if (live_ && error) {
        dialNext(index + 1, error);
    } else {
        finish(error);
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
