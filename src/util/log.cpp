#include "util/log.h"

#include <cerrno>
#include <cstdarg>
#include <utility>

#include "util/formatted_text.h"
#include "util/line_limit.h"
#include "util/system_log.h"

namespace util {

namespace {

LogSink& currentSink() {
    static LogSink sink;
    return sink;
}

// Never destroyed: destructors of other objects may still log.
SystemLog& systemLog() {
    static SystemLog& log = *new SystemLog("/dev/log");
    return log;
}

void send(int priority, const FormattedText& formatted) {
    if (!formatted.text()) {
        systemLog().countLost();
    } else if (const LogSink& sink = currentSink()) {
        sink(priority, std::string(*formatted.text()));
    } else {
        systemLog().write(priority, *formatted.text());
    }
}

}  // namespace

void openLog(const char* ident, int facility) {
    systemLog().setSource(ident, facility);
}

void logMessage(int priority, const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    logMessageWith(priority, format, arguments);
    va_end(arguments);
    errno = errorNumber;
}

void logMessageWith(int priority, const char* format, va_list arguments) {
    const int errorNumber = errno;
    send(priority, FormattedText(format, arguments));
    errno = errorNumber;
}

void flushLog() {
    systemLog().flush();
}

LogSink replaceLogSink(LogSink sink) {
    forgetHeldBackLines();
    return std::exchange(currentSink(), std::move(sink));
}

}  // namespace util
