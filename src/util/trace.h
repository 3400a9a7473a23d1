#pragma once

#include <cstdarg>

namespace util {

// Standard output and standard error, for an operator of the process. Any thread may trace.
//
// A trace never waits: it is written at once, without a buffer, and dropped when there is no room
// for it or no reader. A reader that does not read must not stop the daemon. Up to PIPE_BUF
// bytes are written whole or not at all. `format` is a literal: texts from the bus or from files
// come as arguments only. `%m` is the text of errno as it was at the call, and errno is left as it
// was.
void trace(const char* format, ...) __attribute__((format(printf, 1, 2)));
void traceError(const char* format, ...) __attribute__((format(printf, 1, 2)));
void traceErrorWith(const char* format, va_list arguments) __attribute__((format(printf, 1, 0)));

// Whether a command may be given this standard stream: false while a pipe is half full or more, or
// a terminal has no room, for its reader may be stopped and would block the command. errno
// is left as it was.
bool takesOutput(int descriptor);

}  // namespace util
