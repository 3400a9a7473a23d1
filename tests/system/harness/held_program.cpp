#include "held_program.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace harness {

using pallframe::simulation::check;

// Both ends of the pipe are here, so neither side ever waits to open it. A letter a call: appending
// one is a single write, and their number is the count.
HeldProgram::HeldProgram(const Frame& frame, std::string_view path)
    : frame_(frame), name_("/run/held-" + std::string(path.substr(path.rfind('/') + 1))) {
    const std::string gate = name_ + ".gate";
    check(::mkfifo(gate.c_str(), 0600), gate);
    gate_ =
        pallframe::simulation::Descriptor(check(::open(gate.c_str(), O_RDWR | O_CLOEXEC), gate));
    frame.writeProgram(path, "#!/bin/sh\nprintf . >>" + name_ + ".calls\nread line <" + gate +
                                 "\nprintf . >>" + name_ + ".ends\n");
}

void HeldProgram::waitForCalls(size_t count, const Deadline& deadline) const {
    waitUntil([&] { return frame_.read(name_ + ".calls").size() >= count; },
              std::to_string(count) + " calls of " + name_, deadline);
}

void HeldProgram::release() const {
    check(::write(gate_.get(), "\n", 1), name_);
}

size_t HeldProgram::ended() const {
    return frame_.read(name_ + ".ends").size();
}

}  // namespace harness
