#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

#include "util/files.h"

namespace pallctl {

// A process that outlives its parent: in a session of its own, without terminal, standard input and
// output, so that nothing that happens to the parent reaches it. Both communicate over a line, in
// texts of up to kMaxTextBytes that arrive whole and in order; each notices when the other has
// gone. Used by one thread.
class DetachedProcess {
  public:
    static constexpr size_t kMaxTextBytes = 1024;

    // Starts the process, which runs `life` with its end of the line and returns the exit status.
    // Signals that the caller has blocked are blocked there. Throws std::system_error.
    explicit DetachedProcess(const std::function<int(int line)>& life);

    int line() const { return line_.get(); }

    // Waits for its end. Returns the exit status; empty when it was killed.
    std::optional<int> wait();

  private:
    util::UniqueDescriptor line_;
    pid_t process_ = -1;
};

// These never wait: a text without a reader or without room is lost.
void sendText(int line, const std::string& text);
// The next text; empty without one, or when the other side has gone.
std::string receiveText(int line);

}  // namespace pallctl
