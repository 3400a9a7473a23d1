#include "bus/write_queue.h"

#include <cstdint>
#include <iterator>
#include <new>

namespace lumo {

namespace {

// A batch larger than this gives its memory back when it is written.
constexpr std::size_t kKeptJoined = std::size_t{64} * 1024;

}  // namespace

void WriteQueue::append(std::span<std::string> parts) {
    collecting().insert(collecting().end(), std::make_move_iterator(parts.begin()),
                        std::make_move_iterator(parts.end()));
}

void WriteQueue::appendToGreeting(std::span<std::string> parts) {
    const auto place = collecting().begin() + static_cast<std::ptrdiff_t>(greeting_);
    collecting().insert(place, std::make_move_iterator(parts.begin()),
                        std::make_move_iterator(parts.end()));
    greeting_ += parts.size();
}

const WriteQueue::GatherList& WriteQueue::begin() {
    // Before anything changes: without memory for the list there is no write, and nothing is lost.
    gather_.reserve(collecting().size());
    active_ = 1 - active_;
    greeting_ = 0;
    const std::vector<std::string>& parts = queues_[active_];
    if (parts.size() > kMostGathered && join(parts)) {
        gather_.push_back(asio::buffer(joined_));
    } else {
        for (const std::string& part : parts) {
            gather_.push_back(asio::buffer(part));
        }
    }
    return gather_;
}

// One system call for a burst of small answers: with Nagle's algorithm on, the second of two calls
// would wait for the peer to acknowledge the first. False: no memory for it, so several calls it
// is.
bool WriteQueue::join(const std::vector<std::string>& parts) {
    std::size_t size = 0;
    for (const std::string& part : parts) {
        size += part.size();
    }
    try {
        joined_.reserve(size);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (const std::string& part : parts) {
        joined_ += part;
    }
    return true;
}

void WriteQueue::took(std::size_t bytes) {
    auto rest = gather_.begin();
    while (rest != gather_.end() && bytes >= rest->size()) {
        bytes -= rest->size();
        ++rest;
    }
    gather_.erase(gather_.begin(), rest);
    if (gather_.empty()) {
        end();
    } else {
        gather_.front() += bytes;
    }
}

void WriteQueue::end() {
    queues_[active_].clear();
    gather_.clear();
    joined_.clear();
    if (joined_.capacity() > kKeptJoined) {
        joined_.shrink_to_fit();
    }
}

void WriteQueue::clear() {
    end();
    collecting().clear();
    greeting_ = 0;
}

}  // namespace lumo
