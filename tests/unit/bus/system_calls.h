#pragma once

#include <cstddef>
#include <vector>

// Counts some system calls of the whole process and lets single ones fail. The test program defines
// those functions itself, in front of the C library's.

enum class SystemCall {
    send,      // send, sendmsg
    receive,   // recv, recvmsg
    setTimer,  // timerfd_settime
    socket,
    noDelay,       // setsockopt of TCP_NODELAY
    createThread,  // pthread_create
    allocate       // aligned_alloc, where asio takes the memory of its operations from
};

// Counts from zero while it lives; one at a time.
class WatchedSystemCalls {
  public:
    WatchedSystemCalls();
    ~WatchedSystemCalls();
    WatchedSystemCalls(const WatchedSystemCalls&) = delete;
    WatchedSystemCalls& operator=(const WatchedSystemCalls&) = delete;

    void restart();
    int count(SystemCall call) const;
    // The next call of that kind does nothing but fail with this errno.
    void failNext(SystemCall call, int error);
    // The values written to TCP_NODELAY.
    std::vector<int> noDelayValues() const;
};
