#include "cli/standard_output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace cli {

namespace {

// Right behind the call that left errno.
void expectWritten(bool written) {
    if (!written && errno != EPIPE) {
        throw std::runtime_error(std::string("standard output: ") + std::strerror(errno));
    }
}

}  // namespace

void print(const std::string& text) {
    expectWritten(std::fwrite(text.data(), 1, text.size(), stdout) == text.size());
}

void printNow(const std::string& text) {
    print(text);
    flushOutput();
}

void flushOutput() {
    expectWritten(std::fflush(stdout) == 0);
}

}  // namespace cli
