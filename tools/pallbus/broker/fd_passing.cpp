#include "pallbus/broker/fd_passing.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace pallbus::broker {

namespace {

// A message with room for one descriptor, over the caller's memory. The kernel closes further
// descriptors.
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

}  // namespace

ssize_t sendWithFile(int socket, const std::string& text, const util::UniqueFile& file) {
    std::string bytes = text;
    Message message(bytes.data(), bytes.size());
    message.add(::fileno(file.get()));
    return ::sendmsg(socket, message.header(), MSG_NOSIGNAL);
}

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

}  // namespace pallbus::broker
