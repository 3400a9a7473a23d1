#include "client/standard_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace pallctl {

namespace {

// Right behind the call that left errno.
void expectWritten(bool written) {
    if (!written && errno != EPIPE) {
        throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
    }
}

}  // namespace

void printNow(const std::string& text) {
    expectWritten(std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
                  std::fflush(stdout) == 0);
}

void flushOutput() {
    expectWritten(std::fflush(stdout) == 0);
}

}  // namespace pallctl
