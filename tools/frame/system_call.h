#pragma once

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

namespace frame {

// Ends what is being done with the system's reason (errno) and the words for what was tried.
[[noreturn]] inline void fail(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

// The result of a system call; throws std::system_error when it is negative.
template <typename Result>
Result check(Result result, const std::string& what) {
    if (result < 0) {
        fail(what);
    }
    return result;
}

// Owns a file descriptor; -1 is none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() { close(); }

    int get() const { return fd_; }
    void close() {
        if (fd_ >= 0) {
            ::close(std::exchange(fd_, -1));
        }
    }

  private:
    int fd_ = -1;
};

}  // namespace frame
