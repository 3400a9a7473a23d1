#include "collector.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>

namespace harness {

Collector::Collector(std::string name, pallframe::simulation::Descriptor readEnd)
    : name_(std::move(name)),
      readEnd_(std::move(readEnd)),
      stop_(pallframe::simulation::check(::eventfd(0, EFD_CLOEXEC), "eventfd")),
      thread_([this] { read(); }) {}

Collector::~Collector() {
    ::eventfd_write(stop_.get(), 1);
    thread_.join();
}

void Collector::read() {
    std::array<char, 4096> buffer{};
    std::array<pollfd, 2> ready{{{readEnd_.get(), POLLIN, 0}, {stop_.get(), POLLIN, 0}}};
    while (::poll(ready.data(), ready.size(), -1) > 0 && ready[1].revents == 0) {
        const ssize_t size = ::read(readEnd_.get(), buffer.data(), buffer.size());
        if (size <= 0) {
            break;
        }
        const std::lock_guard lock(mutex_);
        text_.append(buffer.data(), static_cast<size_t>(size));
        changed_.notify_all();
    }
    const std::lock_guard lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

std::string Collector::text() const {
    const std::lock_guard lock(mutex_);
    return text_;
}

template <typename Condition>
void Collector::waitUntil(Condition holds, const std::string& what, const Deadline& deadline) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_until(lock, deadline.end(), [&] { return holds() || ended_; }) || !holds()) {
        throw TimedOut(name_ + ": waited in vain for " + what + "; there was:\n" + text_);
    }
}

void Collector::waitFor(const std::string& text, const Deadline& deadline) {
    waitUntil([&] { return text_.find(text) != std::string::npos; }, "'" + text + "'", deadline);
}

std::string Collector::waitForEnd(const Deadline& deadline) {
    waitUntil([&] { return ended_; }, "its end", deadline);
    return text();
}

}  // namespace harness
