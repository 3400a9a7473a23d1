#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include <asio/buffer.hpp>

namespace lumo {

// What waits to be written to a connection, and what is being written.
//
// Two lists of strings take turns: one is written while callers append to the other. The gather
// list shows the bytes of the write in flight that the socket has not taken yet; empty means that
// no write is in flight. Has no lock: the transport's write mutex guards it.
class WriteQueue {
  public:
    using GatherList = std::vector<asio::const_buffer>;

    // A caller that finds more than this many strings waiting is refused.
    static constexpr std::size_t kMostWaiting = 1000;
    // asio's composed write hands at most this many buffers to one system call.
    static constexpr std::size_t kMostGathered = 16;

    bool full() const { return collecting().size() > kMostWaiting; }
    bool greetingFull() const { return greeting_ > kMostWaiting; }
    bool waiting() const { return !collecting().empty(); }
    bool writing() const { return !gather_.empty(); }

    // Moves the strings behind everything that waits.
    void append(std::span<std::string> parts);
    // Moves the strings behind the greeting's earlier ones and before all others: what waited
    // while the connection was made goes out after what the new connection must hear first. The
    // greeting is over with the next begin().
    void appendToGreeting(std::span<std::string> parts);

    // Begins a write of everything that waits. Only while none is in flight and something waits.
    const GatherList& begin();
    const GatherList& unwritten() const { return gather_; }
    // The socket took the first `bytes` of what was unwritten; with the last one the write is over.
    void took(std::size_t bytes);
    // Ends the write in flight, whatever it still had to write.
    void end();
    // Drops everything; nothing queued for an old connection survives.
    void clear();

  private:
    std::vector<std::string>& collecting() { return queues_[1 - active_]; }
    const std::vector<std::string>& collecting() const { return queues_[1 - active_]; }
    bool join(const std::vector<std::string>& parts);

    std::vector<std::string> queues_[2];
    std::size_t active_ = 0;    // the list that is being written
    std::size_t greeting_ = 0;  // how many of the waiting strings belong to the greeting
    GatherList gather_;
    std::string joined_;  // the parts of a large batch, end to end
};

}  // namespace lumo
