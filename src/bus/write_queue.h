#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include <asio/buffer.hpp>

namespace lumo {

// The total size of the strings in bytes.
std::size_t totalSize(std::span<const std::string> parts);

// The strings that wait to be written to a connection, and those that are being written.
//
// Two lists of strings take turns: one is written while callers append to the other. It is written
// slice by slice, and each string releases its memory as soon as it is taken. The gather list shows
// the bytes of the slice that the socket has not taken yet; empty means that no write is in flight.
// Has no lock: the transport's write mutex guards it.
class WriteQueue {
  public:
    using GatherList = std::vector<asio::const_buffer>;

    // A caller that finds more than this many strings waiting is refused.
    static constexpr std::size_t kMaxWaitingStrings = 1000;
    // Strings that would make more bytes than these, waiting and in flight together, are refused,
    // except by an empty queue: a message of any size can be sent.
    static constexpr std::size_t kMaxBytes = std::size_t{4} * 1024 * 1024;
    // A slice is at most this many strings, or more of them joined up to so many bytes.
    static constexpr std::size_t kMaxGatheredStrings = 16;
    static constexpr std::size_t kMaxJoinedBytes = std::size_t{64} * 1024;

    WriteQueue() { gather_.reserve(kMaxGatheredStrings); }

    // Whether strings of so many bytes find no room.
    bool full(std::size_t bytes) const;
    bool loginFull() const { return login_ > kMaxWaitingStrings; }
    bool waiting() const { return !collecting().empty(); }
    bool writing() const { return !gather_.empty(); }

    // Moves the strings to the end of the queue.
    void append(std::span<std::string> parts);
    // Moves the strings behind the login's earlier ones and before all others: what waited
    // while the connection was made goes out after what the new connection must hear first. The
    // greeting is over with the next begin().
    void appendToLogin(std::span<std::string> parts);

    // Begins a write of everything that waits. Only while none is in flight and something waits.
    const GatherList& begin();
    // The slice that is being written.
    const GatherList& unwritten() const { return gather_; }
    // The socket took the first `bytes` of that; with its last byte the next slice begins, with the
    // last of all the write is over.
    void consume(std::size_t bytes);
    // The number of bytes held, waiting and in flight.
    std::size_t bytes() const { return bytes_; }
    // Drops everything; nothing queued for an old connection survives.
    void clear();

  private:
    std::vector<std::string>& collecting() { return queues_[1 - active_]; }
    const std::vector<std::string>& collecting() const { return queues_[1 - active_]; }
    void nextSlice();
    std::span<const std::string> joinable() const;
    bool join(std::span<const std::string> parts);
    void release(std::size_t count);
    void end();

    std::vector<std::string> queues_[2];
    std::size_t active_ = 0;  // the list that is being written
    std::size_t login_ = 0;   // how many of the waiting strings belong to the login
    std::size_t bytes_ = 0;
    std::size_t first_ = 0;  // the first string of the active list that is not yet taken
    std::size_t joinedStrings_ =
        0;  // how many from there are joined; 0: they are written as they are
    GatherList gather_;
    std::string joined_;  // the strings of a slice of many, end to end
};

}  // namespace lumo
