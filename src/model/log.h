#pragma once

#include <syslog.h>

#include <functional>
#include <string>

// The one way into the system log. Any thread may log.

// Receives every message instead of the system log; the text is complete, `%m` included.
using LogSink = std::function<void(int priority, const std::string& text)>;

// Sends one message to syslog(3). `priority` is LOG_CRIT ... LOG_DEBUG, alone or together with a
// facility (LOG_USER | LOG_CRIT); without one the facility given to openlog counts. `format` is a
// literal: texts from the bus or from files come as arguments only. `%m` is the text of errno as
// it was at the call, and errno is left as it was.
void logMessage(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Puts `sink` in the place of syslog and gives the sink it replaced; an empty one means syslog.
// Made for tests. Call it while no other thread logs; the sink runs on the thread that logs.
LogSink replaceLogSink(LogSink sink);

// While it lives, what its thread logs is dropped: for an attempt at something whose failure is
// known already.
class LogSilence {
  public:
    LogSilence();
    ~LogSilence();
    LogSilence(const LogSilence&) = delete;
    LogSilence& operator=(const LogSilence&) = delete;

  private:
    bool before_;
};
