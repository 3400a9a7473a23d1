#include "util/line_limit.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <mutex>
#include <utility>

#include "util/log.h"
#include "util/trace.h"

namespace util {

namespace {

constexpr int kStandardError = -1;  // where a log has its priority

void report(const char* kind, int priority, std::size_t heldBack) {
    if (heldBack == 0) {
        return;
    }
    if (priority == kStandardError) {
        traceError("%zu more: %s\n", heldBack, kind);
    } else {
        logMessage(priority, "%zu more: %s\n", heldBack, kind);
    }
}

// The kinds met so far. Any thread; nothing is reported under the lock.
class LineKinds {
  public:
    bool admit(const char* kind, int priority, LineLimit::TimePoint now) {
        std::size_t heldBack = 0;
        bool passes = true;
        if (std::lock_guard lock(mutex_); Kind* const known = find(kind, priority)) {
            heldBack = known->limit.takeHeldBack(now);
            passes = known->limit.admit(now);
        }
        report(kind, priority, heldBack);
        return passes;
    }

    void reportHeldBack(LineLimit::TimePoint now) {
        std::unique_lock lock(mutex_);
        for (Kind& kind : kinds_) {
            if (const std::size_t heldBack = kind.limit.takeHeldBack(now)) {
                lock.unlock();
                report(kind.name, kind.priority, heldBack);
                lock.lock();
            }
        }
    }

    void forget() {
        const std::lock_guard lock(mutex_);
        kinds_.fill({});
    }

  private:
    struct Kind {
        const char* name = nullptr;
        int priority = 0;
        LineLimit limit;
    };

    // Null when there are more kinds than were thought of; those are not limited.
    Kind* find(const char* name, int priority) {
        for (Kind& kind : kinds_) {
            if (kind.name == nullptr) {
                kind.name = name;
                kind.priority = priority;
            }
            if (std::strcmp(kind.name, name) == 0) {
                return &kind;
            }
        }
        return nullptr;
    }

    static constexpr std::size_t kMaxKinds = 16;
    std::mutex mutex_;
    std::array<Kind, kMaxKinds> kinds_;
};

LineKinds& lineKinds() {
    static LineKinds kinds;
    return kinds;
}

}  // namespace

bool LineLimit::isOver(TimePoint now) const {
    return !begin_ || now - *begin_ >= std::chrono::seconds(1);
}

bool LineLimit::admit(TimePoint now) {
    if (isOver(now)) {
        begin_ = now;
        passed_ = 0;
    }
    const bool passes = passed_ < kMaxLinesPerSecond;
    ++(passes ? passed_ : heldBack_);
    return passes;
}

std::size_t LineLimit::takeHeldBack(TimePoint now) {
    return isOver(now) ? std::exchange(heldBack_, 0) : 0;
}

void logLimited(const char* kind, int priority, const char* format, ...) {
    const int errorNumber = errno;
    if (lineKinds().admit(kind, priority, std::chrono::steady_clock::now())) {
        errno = errorNumber;
        va_list arguments;
        va_start(arguments, format);
        logMessageWith(priority, format, arguments);
        va_end(arguments);
    }
    errno = errorNumber;
}

void traceErrorLimited(const char* kind, const char* format, ...) {
    if (lineKinds().admit(kind, kStandardError, std::chrono::steady_clock::now())) {
        va_list arguments;
        va_start(arguments, format);
        traceErrorWith(format, arguments);
        va_end(arguments);
    }
}

void reportHeldBackLines() {
    lineKinds().reportHeldBack(std::chrono::steady_clock::now());
}

void forgetHeldBackLines() {
    lineKinds().forget();
}

}  // namespace util
