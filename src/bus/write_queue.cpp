#include "bus/write_queue.h"

#include <algorithm>
#include <iterator>
#include <new>

namespace lumo {

namespace {

// A list of more strings than these releases its memory when it is written.
constexpr std::size_t kKeptStrings = 2 * WriteQueue::kMaxWaitingStrings;

}  // namespace

std::size_t totalSize(std::span<const std::string> parts) {
    std::size_t size = 0;
    for (const std::string& part : parts) {
        size += part.size();
    }
    return size;
}

bool WriteQueue::full(std::size_t bytes) const {
    const bool empty = !waiting() && !writing();
    return collecting().size() > kMaxWaitingStrings || (!empty && bytes_ + bytes > kMaxBytes);
}

void WriteQueue::append(std::span<std::string> parts) {
    const std::size_t size = totalSize(parts);
    collecting().insert(collecting().end(), std::make_move_iterator(parts.begin()),
                        std::make_move_iterator(parts.end()));
    bytes_ += size;
}

void WriteQueue::appendToLogin(std::span<std::string> parts) {
    const std::size_t size = totalSize(parts);
    // Before anything moves: strings of a login without memory would be lost halfway.
    collecting().reserve(collecting().size() + parts.size());
    const auto place = collecting().begin() + static_cast<std::ptrdiff_t>(login_);
    collecting().insert(place, std::make_move_iterator(parts.begin()),
                        std::make_move_iterator(parts.end()));
    login_ += parts.size();
    bytes_ += size;
}

const WriteQueue::GatherList& WriteQueue::begin() {
    active_ = 1 - active_;
    login_ = 0;
    first_ = 0;
    nextSlice();
    return gather_;
}

void WriteQueue::nextSlice() {
    const std::vector<std::string>& parts = queues_[active_];
    const std::span<const std::string> many = joinable();
    if (many.size() > kMaxGatheredStrings && join(many)) {
        joinedStrings_ = many.size();
        gather_.push_back(asio::buffer(joined_));
        return;
    }
    joinedStrings_ = 0;
    const std::size_t end = std::min(parts.size(), first_ + kMaxGatheredStrings);
    for (std::size_t part = first_; part < end; ++part) {
        gather_.push_back(asio::buffer(parts[part]));
    }
}

// The next strings that together are short enough to be joined.
std::span<const std::string> WriteQueue::joinable() const {
    const std::span<const std::string> rest = std::span(queues_[active_]).subspan(first_);
    std::size_t count = 0;
    std::size_t size = 0;
    while (count < rest.size() && size + rest[count].size() <= kMaxJoinedBytes) {
        size += rest[count].size();
        ++count;
    }
    return rest.first(count);
}

// One system call for a burst of small answers: with Nagle's algorithm on, the second of two calls
// would wait for the peer to acknowledge the first. False: no memory for it, so several calls it
// is.
bool WriteQueue::join(std::span<const std::string> parts) {
    try {
        joined_.reserve(totalSize(parts));
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (const std::string& part : parts) {
        joined_ += part;
    }
    return true;
}

void WriteQueue::consume(std::size_t bytes) {
    auto rest = gather_.begin();
    while (rest != gather_.end() && bytes >= rest->size()) {
        bytes -= rest->size();
        ++rest;
    }
    const auto taken = static_cast<std::size_t>(rest - gather_.begin());
    release(joinedStrings_ > 0 ? taken * joinedStrings_ : taken);
    gather_.erase(gather_.begin(), rest);
    if (!gather_.empty()) {
        gather_.front() += bytes;
        return;
    }
    joined_.clear();
    if (first_ < queues_[active_].size()) {
        nextSlice();
    } else {
        end();
    }
}

void WriteQueue::release(std::size_t count) {
    for (const std::size_t end = first_ + count; first_ < end; ++first_) {
        std::string& part = queues_[active_][first_];
        bytes_ -= part.size();
        std::string().swap(part);
    }
}

void WriteQueue::end() {
    std::vector<std::string>& written = queues_[active_];
    written.clear();
    if (written.capacity() > kKeptStrings) {
        std::vector<std::string>().swap(written);
    }
}

void WriteQueue::clear() {
    gather_.clear();
    joined_.clear();
    for (std::vector<std::string>& queue : queues_) {
        std::vector<std::string>().swap(queue);
    }
    login_ = 0;
    bytes_ = 0;
}

}  // namespace lumo
