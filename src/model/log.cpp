#include "model/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list arguments) {
    va_list measured;
    va_copy(measured, arguments);
    const int errorNumber = errno;
    const int length = std::vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    if (length <= 0) {
        return {};
    }
    std::string text(static_cast<size_t>(length), '\0');
    errno = errorNumber;
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

bool& silenced() {
    thread_local bool silent = false;
    return silent;
}

}  // namespace

void logMessage(int priority, const char* format, ...) {
    if (silenced()) {
        return;
    }
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    if (const LogSink& sink = currentSink()) {
        sink(priority, formatted(format, arguments));
    } else {
        vsyslog(priority, format, arguments);
    }
    va_end(arguments);
    errno = errorNumber;
}

LogSink replaceLogSink(LogSink sink) {
    return std::exchange(currentSink(), std::move(sink));
}

LogSilence::LogSilence() : before_(std::exchange(silenced(), true)) {}

LogSilence::~LogSilence() {
    silenced() = before_;
}
