#include "systemstate/command_output.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "model/trace.h"

namespace {

constexpr std::size_t kLongestLine = 127;

ssize_t readAgain(int descriptor, char* to, std::size_t size) {
    ssize_t count = -1;
    do {
        count = read(descriptor, to, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

}  // namespace

std::string firstLineFrom(int descriptor) {
    std::array<char, kLongestLine> buffer{};
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t count = readAgain(descriptor, buffer.data() + filled, buffer.size() - filled);
        if (count < 0) {
            trace("fread error %d\n", static_cast<int>(count));
        }
        if (count <= 0) {
            break;
        }
        filled += static_cast<std::size_t>(count);
    }
    const std::string_view text(buffer.data(), filled);
    return std::string(text.substr(0, text.find_first_of(std::string_view("\n\0", 2))));
}
