#pragma once

#include <syslog.h>

#include <cstdarg>
#include <functional>
#include <string>

namespace util {

// The only way to the system log. Any thread may log, and none waits for the log: see
// util/system_log.h.

// Receives every message instead of the system log; the text is complete, `%m` included.
using LogSink = std::function<void(int priority, const std::string& text)>;

// The name before each line, and the facility (LOG_LOCAL2, ...) of lines that name none. Until it
// is called they are those of syslog(3): the program's own name, and LOG_USER.
void openLog(const char* ident, int facility);

// Sends one message to the system log. `priority` is LOG_CRIT ... LOG_DEBUG, alone or together with
// a facility (LOG_USER | LOG_CRIT); without one the facility given to openLog counts. `format` is a
// literal: texts from the bus or from files come as arguments only. `%m` is the text of errno as
// it was at the call, and errno is left as it was.
void logMessage(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));
void logMessageWith(int priority, const char* format, va_list arguments)
    __attribute__((format(printf, 2, 0)));

// Sends what the log did not take at once, as far as it takes it now; to be called now and then.
void flushLog();

// Puts `sink` in the place of the system log and returns the sink it replaced; an empty one means
// the system log. Made for tests. Call it while no other thread logs; the sink runs on the thread
// that logs.
LogSink replaceLogSink(LogSink sink);

}  // namespace util
