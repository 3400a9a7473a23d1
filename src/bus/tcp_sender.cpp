#include "bus/tcp_sender.h"

#include <new>
#include <utility>

#include <asio/error.hpp>
#include <asio/post.hpp>
#include <asio/write.hpp>

namespace lumo {

namespace {

thread_local TcpSender::Batch* innermost = nullptr;

}  // namespace

TcpSender::Batch::Batch(TcpSender& sender) : sender_(sender), outer_(innermost) {
    innermost = this;
}

TcpSender::Batch::~Batch() {
    innermost = outer_;
    if (sender_.batching()) {
        return;
    }
    try {
        sender_.flush();
    } catch (const std::bad_alloc&) {
        // What is queued goes out with the next write.
        return;
    }
}

TcpSender::TcpSender(asio::io_service& io, WriteFailed failed)
    : io_(io), failed_(std::move(failed)) {}

bool TcpSender::batching() const {
    const Batch* batch = innermost;
    while (batch != nullptr && &batch->sender_ != this) {
        batch = batch->outer_;
    }
    return batch != nullptr;
}

std::error_code TcpSender::send(std::span<std::string> parts) {
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::none) {
        return make_error_code(std::errc::not_connected);
    }
    if (const std::error_code refused = queue(parts)) {
        return refused;
    }
    if (!batching()) {
        startWriting();
    }
    return {};
}

std::error_code TcpSender::queue(std::span<std::string> parts) {
    // The greeting has a measure of its own: what others keep aside must not cost the login.
    const bool greeting = phase_ == Phase::greeting && greeter_ == std::this_thread::get_id();
    if (!greeting && queue_.full()) {
        startWriting();  // the limit is for a write that is stuck, not for a long batch
    }
    if (greeting ? queue_.greetingFull() : queue_.full()) {
        return make_error_code(std::errc::no_buffer_space);
    }
    greeting ? queue_.appendToGreeting(parts) : queue_.append(parts);
    return {};
}

void TcpSender::flush() {
    const std::lock_guard lock(mutex_);
    startWriting();
}

void TcpSender::reset() {
    detach();
    const std::lock_guard lock(mutex_);
    queue_.clear();
}

void TcpSender::attach(std::shared_ptr<TcpLink> link) {
    const std::lock_guard lock(mutex_);
    link_ = std::move(link);
    phase_ = Phase::connecting;
}

void TcpSender::beginGreeting() {
    const std::lock_guard lock(mutex_);
    phase_ = Phase::greeting;
    greeter_ = std::this_thread::get_id();
}

void TcpSender::endGreeting() {
    const std::lock_guard lock(mutex_);
    phase_ = Phase::open;
    startWriting();
}

void TcpSender::detach() {
    const std::lock_guard lock(mutex_);
    phase_ = Phase::none;
    if (link_) {
        link_->retire();
        link_.reset();
    }
}

bool TcpSender::hasSocket() const {
    const std::lock_guard lock(mutex_);
    return phase_ != Phase::none;
}

bool TcpSender::isOpen() const {
    const std::lock_guard lock(mutex_);
    return phase_ == Phase::open;
}

// The first attempt is made here and now. A socket that takes everything, as it nearly always does,
// leaves nothing for the loop to do; only the rest is written from there.
void TcpSender::startWriting() {
    if (phase_ != Phase::open || queue_.writing() || !queue_.waiting()) {
        return;
    }
    std::error_code error;
    const std::size_t written = link_->socket().write_some(queue_.begin(), error);
    queue_.took(written);
    auto done = [this, link = link_](const std::error_code& outcome, std::size_t = 0) {
        if (link->live()) {
            writeDone(outcome);
        }
    };
    if (error && error != asio::error::would_block) {
        asio::post(io_, [done, error] { done(error); });
    } else if (queue_.writing()) {
        asio::async_write(link_->socket(), queue_.unwritten(), done);
    }
}

void TcpSender::writeDone(const std::error_code& error) {
    {
        const std::lock_guard lock(mutex_);
        queue_.end();
        if (!error) {
            startWriting();
        }
    }
    if (error) {
        failed_();
    }
}

}  // namespace lumo
