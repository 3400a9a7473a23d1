#include "deadline.h"

#include <poll.h>

#include <algorithm>
#include <thread>

namespace harness {

int Deadline::millisecondsLeft() const {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now());
    return static_cast<int>(std::max<int64_t>(left.count(), 0));
}

void waitReadable(int descriptor, const Deadline& deadline, const std::string& what) {
    pollfd ready{descriptor, POLLIN, 0};
    if (::poll(&ready, 1, deadline.millisecondsLeft()) <= 0) {
        throw TimedOut("waited in vain for " + what);
    }
}

void waitUntil(const std::function<bool()>& holds, const std::string& what,
               const Deadline& deadline) {
    while (!holds()) {
        if (deadline.passed()) {
            throw TimedOut("waited in vain for " + what);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
}

}  // namespace harness
