#include "systemstate/command_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "util/trace.h"

namespace {

void closeEnd(int& end) {
    if (end >= 0) {
        close(end);
        end = -1;
    }
}

}  // namespace

CommandOutput::CommandOutput() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) {
        readEnd_ = ends[0];
        writeEnd_ = ends[1];
        fcntl(readEnd_, F_SETFL, O_NONBLOCK);
    }
}

CommandOutput::~CommandOutput() {
    closeEnd(readEnd_);
    closeEnd(writeEnd_);
}

void CommandOutput::closeWriteEnd() {
    closeEnd(writeEnd_);
}

void CommandOutput::read() {
    while (readEnd_ >= 0) {
        const ssize_t count = ::read(readEnd_, bytes_.data() + filled_, bytes_.size() - filled_);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 && errno == EAGAIN) {
            return;
        }
        if (count < 0) {
            util::trace("fread error %d\n", static_cast<int>(count));
        }
        filled_ += count > 0 ? static_cast<std::size_t>(count) : 0;
        if (count <= 0 || filled_ == bytes_.size()) {
            closeEnd(readEnd_);
        }
    }
}

std::string CommandOutput::firstLine() const {
    const std::string_view text(bytes_.data(), filled_);
    return std::string(text.substr(0, text.find_first_of(std::string_view("\n\0", 2))));
}
