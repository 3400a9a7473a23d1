#include "bus/tcp_sender.h"

#include <iterator>
#include <new>
#include <utility>

#include <asio/error.hpp>

#include "util/memory.h"

namespace lumo {

namespace {

thread_local TcpSender::Batch* innermost = nullptr;

}  // namespace

TcpSender::Batch::Batch(TcpSender& sender) : sender_(sender), outer_(innermost) {
    innermost = this;
}

TcpSender::Batch::~Batch() {
    try {
        if (sender_.batch() == this) {
            sender_.flush();
        }
    } catch (const std::bad_alloc&) {
        // What is queued goes out with the next write.
    }
    innermost = outer_;
}

void TcpSender::Batch::keep(std::span<std::string> parts, std::uint64_t connection) {
    if (connection != connection_) {
        messages_.clear();
        bytes_ = 0;
        connection_ = connection;
    }
    messages_.emplace_back(std::make_move_iterator(parts.begin()),
                           std::make_move_iterator(parts.end()));
    for (const std::string& part : messages_.back()) {
        bytes_ += part.size();
    }
}

// The outermost of this thread, null when there is none.
TcpSender::Batch* TcpSender::batch() const {
    Batch* found = nullptr;
    for (Batch* batch = innermost; batch != nullptr; batch = batch->outer_) {
        found = &batch->sender_ == this ? batch : found;
    }
    return found;
}

std::size_t TcpSender::gathered() const {
    const Batch* const mine = batch();
    return mine != nullptr ? mine->bytes_ : 0;
}

bool TcpSender::greeting() const {
    return phase_ == Phase::greeting && greeter_ == std::this_thread::get_id();
}

std::error_code TcpSender::send(std::span<std::string> parts) {
    const std::lock_guard lock(mutex_);
    if (phase_ == Phase::none) {
        return make_error_code(std::errc::not_connected);
    }
    Batch* const mine = greeting() ? nullptr : batch();
    if (mine != nullptr) {
        mine->keep(parts, connection_);
        if (mine->bytes_ > Batch::kMostBytes) {
            handOver(*mine);
            startWriting();
        }
        return {};
    }
    const std::error_code refused = queue(parts);
    if (!refused) {
        startWriting();
    }
    return refused;
}

std::error_code TcpSender::queue(std::span<std::string> parts) {
    // The greeting has a measure of its own: what others keep aside must not cost the login.
    if (greeting()) {
        if (queue_.greetingFull()) {
            return make_error_code(std::errc::no_buffer_space);
        }
        queue_.appendToGreeting(parts);
        return {};
    }
    std::size_t bytes = 0;
    for (const std::string& part : parts) {
        bytes += part.size();
    }
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

void TcpSender::handOver(Batch& batch) {
    std::vector<std::vector<std::string>> messages = std::exchange(batch.messages_, {});
    batch.bytes_ = 0;
    if (phase_ == Phase::none || batch.connection_ != connection_) {
        return;
    }
    for (std::vector<std::string>& parts : messages) {
        offer(parts);
    }
}

// Nobody waits for the outcome any more: a message that finds no room or no memory is dropped.
void TcpSender::offer(std::span<std::string> parts) {
    try {
        static_cast<void>(queue(parts));
    } catch (const std::bad_alloc&) {
        return;
    }
}

bool TcpSender::refuses(std::size_t bytes) const {
    const std::lock_guard lock(mutex_);
    const bool stuck = queue_.writing() && queue_.full(bytes);
    return phase_ == Phase::none || (stuck && !greeting());
}

void TcpSender::flush() {
    const std::lock_guard lock(mutex_);
    if (Batch* const mine = batch()) {
        handOver(*mine);
    }
    startWriting();
}

void TcpSender::attach(std::shared_ptr<TcpLink> link) {
    const std::lock_guard lock(mutex_);
    link_ = std::move(link);
    phase_ = Phase::connecting;
    ++connection_;
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

void TcpSender::drain() {
    const std::lock_guard lock(mutex_);
    if (phase_ != Phase::open) {
        close();
        return;
    }
    phase_ = Phase::draining;
    std::error_code ignored;
    link_->socket().cancel(ignored);
}

void TcpSender::detach() {
    const std::lock_guard lock(mutex_);
    close();
}

void TcpSender::close() {
    phase_ = Phase::none;
    if (link_) {
        link_->retire();
        link_.reset();
    }
    queue_.clear();
    returnMemory();
}

void TcpSender::returnMemory() {
    if (std::exchange(large_, false)) {
        util::returnFreeMemory();
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
    if ((phase_ == Phase::open && !queue_.writing()) || phase_ == Phase::draining) {
        writeOn();
    }
}

// Only a socket that takes no more, or fails, leaves a write in flight behind.
void TcpSender::writeOn() {
    std::error_code error;
    while (!error && (queue_.writing() || queue_.waiting())) {
        const auto& bite = queue_.writing() ? queue_.unwritten() : queue_.begin();
        queue_.took(link_->socket().write_some(bite, error));
    }
    if (error && phase_ == Phase::draining) {
        return;  // the loop would not hear of room any more
    }
    if (error) {
        waitToWrite(error == asio::error::would_block ? std::error_code() : error);
    } else {
        returnMemory();
    }
}

// A failed socket is always ready, so the loop hears of the error in the same way.
void TcpSender::waitToWrite(const std::error_code& error) {
    link_->socket().async_wait(
        TcpLink::Socket::wait_write,
        HandlerInMemory(link_->writeMemory(),
                        [this, link = link_, error](const std::error_code& waitError) {
                            if (link->live()) {
                                writable(error ? error : waitError);
                            }
                        }));
}

void TcpSender::writable(const std::error_code& error) {
    if (error) {
        failed_();
        return;
    }
    const std::lock_guard lock(mutex_);
    writeOn();
}

}  // namespace lumo
