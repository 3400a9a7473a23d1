#pragma once

#include <atomic>
#include <cstdint>

// What the proof and the library that it preloads into the daemon share: a file that both have
// mapped. The proof writes what shall fail before it arms the page, the library what happened.
namespace prove {

inline constexpr const char* kControlVariable = "PROVE_CONTROL";  // the file's path
inline constexpr const char* kWatched = "/vantor/etc";            // calls that concern files there
inline constexpr uint32_t kMostCalls = 1024;
inline constexpr uint32_t kMostBytes = 1 << 20;
inline constexpr uint32_t kLongestPath = 120;

// Instead of an errno: a read or write moves half of its bytes; the daemon is killed instead of the
// call; it is killed when a write has moved half of its bytes.
inline constexpr int32_t kHalf = -1;
inline constexpr int32_t kKill = -2;
inline constexpr int32_t kKillTorn = -3;

// One call of the daemon to the kernel.
struct Call {
    int32_t number;  // SYS_…
    int32_t descriptor;
    int64_t result;  // what the kernel gave, -errno on failure
    int64_t flags;   // of an open
    uint32_t bytesAt;
    uint32_t byteCount;         // of a write, in Control::bytes
    char path[kLongestPath];    // also of what the descriptor is open on
    char target[kLongestPath];  // the second path of a rename
};

struct Control {
    // The kernel reads it at each call of the daemon's main thread (prctl(2),
    // PR_SET_SYSCALL_USER_DISPATCH): 0 lets them through, 1 gives them to the library.
    volatile char selector;
    std::atomic<bool> countsAllocations;
    uint32_t failCall;        // which one of the watched calls fails, from 1; 0 for none
    bool failsOnwards;        // and all that follow, until the page is disarmed
    uint32_t failAllocation;  // the same of the main thread's allocations
    int32_t error;            // how the call fails: an errno or one of the above
    std::atomic<uint32_t> calls;
    std::atomic<uint32_t> allocations;
    std::atomic<uint32_t> given;          // how many failed
    std::atomic<int64_t> noThreadsUntil;  // CLOCK_MONOTONIC, milliseconds; 0 for always some
    uint32_t bytesUsed;
    Call log[kMostCalls];
    char bytes[kMostBytes];
};

}  // namespace prove
