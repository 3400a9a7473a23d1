#pragma once

#include <sys/types.h>

#include <string>

#include "util/files.h"

// Passes an open file along with bytes on a unix socket (unix(7), SCM_RIGHTS). The path and the
// permissions are those of the process that opened the file.

namespace pallbus::broker {

// Sends the file with the first bytes of the text. Returns how many bytes were sent; -1 with errno.
ssize_t sendWithFile(int socket, const std::string& text, const util::UniqueFile& file);

// Appends the bytes that are available, without waiting, and replaces `file` when a file comes
// along; it is open for writing. Returns how many bytes; 0 at the end, -1 with errno.
ssize_t receiveWithFile(int socket, std::string& text, util::UniqueFile& file);

}  // namespace pallbus::broker
