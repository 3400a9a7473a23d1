// A command and the file that it may name travel in one stream: the descriptor of the file is
// passed along with the first bytes, so that path and permissions are those of the client. The
// server takes bytes until the client has shut its side down; each client has a number, and
// handlers of an earlier client do nothing.

#include "pallbus/broker/control_socket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include <asio/buffer.hpp>
#include <asio/read.hpp>
#include <asio/write.hpp>

#include "cli/timed_script.h"

namespace pallbus::broker {

namespace {

using asio::local::stream_protocol;

constexpr std::chrono::seconds kClientTimeout{2};
constexpr size_t kMaxCommandBytes = cli::script::kMaxScriptBytes + 4096;
constexpr std::string_view kOk = "ok\n";
constexpr std::string_view kError = "error\n";

stream_protocol::endpoint socketName(uint16_t port) {
    std::string name(1, '\0');
    name.append("pallbus.").append(std::to_string(port));
    return {name};
}

// A message with room for one descriptor (unix(7), SCM_RIGHTS), over the caller's memory. The
// kernel closes further descriptors.
class Message {
  public:
    Message(char* bytes, size_t size) : piece_{bytes, size} {
        header_.msg_iov = &piece_;
        header_.msg_iovlen = 1;
        header_.msg_control = room_.data();
        header_.msg_controllen = room_.size();
    }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    msghdr* header() { return &header_; }

    void add(int descriptor) {
        cmsghdr* const part = CMSG_FIRSTHDR(&header_);
        part->cmsg_level = SOL_SOCKET;
        part->cmsg_type = SCM_RIGHTS;
        part->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(part), &descriptor, sizeof descriptor);
    }

    // -1 when the message has none.
    int descriptor() {
        int descriptor = -1;
        const cmsghdr* const part = CMSG_FIRSTHDR(&header_);
        if (part != nullptr && part->cmsg_level == SOL_SOCKET && part->cmsg_type == SCM_RIGHTS) {
            std::memcpy(&descriptor, CMSG_DATA(part), sizeof descriptor);
        }
        return descriptor;
    }

  private:
    iovec piece_;
    msghdr header_{};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> room_{};
};

// Sends the file with the first bytes of the text. Returns how many bytes were sent; -1 with errno.
ssize_t sendWithFile(int socket, const std::string& text, const util::UniqueFile& file) {
    std::string bytes = text;
    Message message(bytes.data(), bytes.size());
    message.add(::fileno(file.get()));
    return ::sendmsg(socket, message.header(), MSG_NOSIGNAL);
}

// Appends the bytes that are available, without waiting, and replaces `file` when a file comes
// along; it is open for writing. Returns how many bytes; 0 at the end, -1 with errno.
ssize_t receiveWithFile(int socket, std::string& text, util::UniqueFile& file) {
    std::array<char, 65536> chunk;
    Message message(chunk.data(), chunk.size());
    const ssize_t size = ::recvmsg(socket, message.header(), MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    if (size <= 0) {
        return size;
    }
    text.append(chunk.data(), static_cast<size_t>(size));
    if (const int descriptor = message.descriptor(); descriptor >= 0) {
        file.reset(::fdopen(descriptor, "w"));
        if (!file) {
            ::close(descriptor);
        }
    }
    return size;
}

// Sends the whole command, and the file with its first bytes.
void send(stream_protocol::socket& socket, const std::string& command,
          const util::UniqueFile& file) {
    size_t sent = 0;
    if (file) {
        const ssize_t size = sendWithFile(socket.native_handle(), command, file);
        sent = static_cast<size_t>(std::max<ssize_t>(size, 0));
    }
    asio::error_code error;
    asio::write(socket, asio::buffer(command) + sent, error);
    socket.shutdown(stream_protocol::socket::shutdown_send, error);
}

}  // namespace

ControlSocket::ControlSocket(asio::io_context& io, uint16_t port, Handle handle)
    : acceptor_(io, socketName(port), false),
      client_(io),
      timeout_(io, [this] { closeClient(); }),
      handle_(std::move(handle)) {
    accept();
}

void ControlSocket::accept() {
    acceptor_.async_accept(client_, [this](const asio::error_code& error) {
        if (error == asio::error::operation_aborted) {
            return;
        }
        // After an error too: without free descriptors the next attempt would fail at once.
        timeout_.arm(kClientTimeout);
        if (!error) {
            request_ = {};
            read();
        }
    });
}

void ControlSocket::closeClient() {
    ++clientNumber_;
    asio::error_code ignored;
    client_.close(ignored);
    timeout_.cancel();
    accept();
}

void ControlSocket::read() {
    client_.async_wait(stream_protocol::socket::wait_read,
                       [this, number = clientNumber_](const asio::error_code& error) {
                           if (!error && number == clientNumber_) {
                               receive();
                           }
                       });
}

void ControlSocket::receive() {
    const ssize_t size = receiveWithFile(client_.native_handle(), request_.command, request_.file);
    if (size == 0) {
        timeout_.cancel();  // the timeout is for the client; the bus may take longer to answer
        handle_(std::move(request_), [this, number = clientNumber_](const ControlReply& reply) {
            if (number == clientNumber_) {
                answer(reply);
            }
        });
    } else if (request_.command.size() <= kMaxCommandBytes && (size > 0 || errno == EAGAIN)) {
        read();
    } else {
        closeClient();
    }
}

void ControlSocket::answer(const ControlReply& reply) {
    timeout_.arm(kClientTimeout);
    reply_ = std::string(reply.ok ? kOk : kError) + reply.text;
    asio::async_write(client_, asio::buffer(reply_),
                      [this, number = clientNumber_](const asio::error_code&, size_t) {
                          if (number == clientNumber_) {
                              closeClient();
                          }
                      });
}

std::optional<ControlReply> sendCommand(uint16_t port, const std::string& command,
                                        const util::UniqueFile& file) {
    asio::io_context io;
    stream_protocol::socket socket(io);
    asio::error_code error;
    socket.connect(socketName(port), error);
    if (!error) {
        send(socket, command, file);
    }
    std::string answer;
    asio::read(socket, asio::dynamic_buffer(answer), error);
    for (const std::string_view status : {kOk, kError}) {
        if (answer.starts_with(status)) {
            return ControlReply{status == kOk, answer.substr(status.size())};
        }
    }
    return std::nullopt;
}

}  // namespace pallbus::broker
