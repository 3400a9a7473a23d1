#include "system_calls.h"

#include <dlfcn.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/timerfd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <mutex>

#include "allocations.h"

namespace {

constexpr std::size_t kCalls = 7;

std::array<std::atomic<int>, kCalls> counts;
std::array<std::atomic<int>, kCalls> failures;
std::mutex valuesMutex;
std::vector<int> values;

std::size_t index(SystemCall call) {
    return static_cast<std::size_t>(call);
}

// Counts the call; true when it is to fail, with errno set.
bool refused(SystemCall call) {
    ++counts[index(call)];
    const int error = failures[index(call)].exchange(0);
    if (error != 0) {
        errno = error;
    }
    return error != 0;
}

template <typename Function>
Function* original(const char* name) {
    return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

// For a call that takes or may give a time: on a 32-bit machine, programs with 64-bit time use, and
// here define, another one.
template <typename Function>
Function* original(const char* name, const char* nameFor64BitTime) {
    constexpr bool hasTimeOfOwnSize = sizeof(time_t) > sizeof(void*);
    return original<Function>(hasTimeOfOwnSize ? nameFor64BitTime : name);
}

}  // namespace

extern "C" {

ssize_t send(int fd, const void* data, size_t size, int flags) {
    static auto* const real = original<decltype(send)>("send");
    return refused(SystemCall::send) ? -1 : real(fd, data, size, flags);
}

ssize_t sendmsg(int fd, const msghdr* message, int flags) {
    static auto* const real = original<decltype(sendmsg)>("sendmsg", "__sendmsg64");
    return refused(SystemCall::send) ? -1 : real(fd, message, flags);
}

ssize_t recv(int fd, void* data, size_t size, int flags) {
    static auto* const real = original<decltype(recv)>("recv");
    return refused(SystemCall::receive) ? -1 : real(fd, data, size, flags);
}

ssize_t recvmsg(int fd, msghdr* message, int flags) {
    static auto* const real = original<decltype(recvmsg)>("recvmsg", "__recvmsg64");
    return refused(SystemCall::receive) ? -1 : real(fd, message, flags);
}

int timerfd_settime(int fd, int flags, const itimerspec* time, itimerspec* old) noexcept {
    static auto* const real =
        original<decltype(timerfd_settime)>("timerfd_settime", "__timerfd_settime64");
    return refused(SystemCall::setTimer) ? -1 : real(fd, flags, time, old);
}

int socket(int domain, int type, int protocol) noexcept {
    static auto* const real = original<decltype(socket)>("socket");
    return refused(SystemCall::socket) ? -1 : real(domain, type, protocol);
}

int setsockopt(int fd, int level, int name, const void* value, socklen_t size) noexcept {
    static auto* const real = original<decltype(setsockopt)>("setsockopt", "__setsockopt64");
    if (level == IPPROTO_TCP && name == TCP_NODELAY) {
        const std::lock_guard lock(valuesMutex);
        values.push_back(*static_cast<const int*>(value));
        if (refused(SystemCall::noDelay)) {
            return -1;
        }
    }
    return real(fd, level, name, value, size);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                   void* argument) noexcept {
    static auto* const real = original<decltype(pthread_create)>("pthread_create");
    return refused(SystemCall::createThread) ? errno : real(thread, attributes, run, argument);
}

void* aligned_alloc(size_t alignment, size_t size) noexcept {
    static auto* const real = original<decltype(aligned_alloc)>("aligned_alloc");
    return refused(SystemCall::allocate) || isAllocationRefused(size) ? nullptr
                                                                      : real(alignment, size);
}

}  // extern "C"

WatchedSystemCalls::WatchedSystemCalls() {
    restart();
}

WatchedSystemCalls::~WatchedSystemCalls() {
    restart();
}

void WatchedSystemCalls::restart() {
    for (std::size_t call = 0; call < kCalls; ++call) {
        counts[call] = 0;
        failures[call] = 0;
    }
    const std::lock_guard lock(valuesMutex);
    values.clear();
}

int WatchedSystemCalls::count(SystemCall call) const {
    return counts[index(call)];
}

void WatchedSystemCalls::failNext(SystemCall call, int error) {
    failures[index(call)] = error;
}

std::vector<int> WatchedSystemCalls::noDelayValues() const {
    const std::lock_guard lock(valuesMutex);
    return values;
}
