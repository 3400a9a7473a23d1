#pragma once

#include <sys/types.h>

#include <string>

#include "model/files.h"

// Bytes on a unix socket that an open file may come along with (unix(7), SCM_RIGHTS): who opened it
// has seen to its path and had the rights to it.

namespace pallbus {

// Sends some of the text, at least a byte, and the file with it. Gives how much; -1 with errno.
ssize_t sendWithFile(int socket, const std::string& text, const UniqueFile& file);

// Adds what there is to the text, without waiting. A file that comes along takes the place of
// `file`, for writing. Gives how much; 0 at the end, -1 with errno.
ssize_t receiveWithFile(int socket, std::string& text, UniqueFile& file);

}  // namespace pallbus
