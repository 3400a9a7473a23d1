#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

#include "client/bus_session.h"
#include "pallctl/values/output.h"

namespace pallctl {

// A process that outlives the one that started it: in a session of its own, without terminal,
// standard input and outputs, so that nothing that happens to the other reaches it. The two talk
// over a line, in texts of up to kMaxTextBytes bytes that arrive whole and in order; each sees when
// the other has gone. What both do is theirs to say. Used by one thread.
class DetachedProcess {
  public:
    static constexpr size_t kMaxTextBytes = 1024;

    // Starts it: `life` runs there, with its end of the line, and gives its exit status. Signals
    // that the caller has blocked are blocked there. Throws std::system_error.
    explicit DetachedProcess(const std::function<int(int line)>& life);

    int line() const { return line_.get(); }

    // Waits for its end: its exit status, or nothing when something else ended it.
    std::optional<int> wait();

  private:
    cli::FileDescriptor line_;
    pid_t process_ = -1;
};

// Never wait: a text that finds no reader, or no room, is lost.
void sendText(int line, const std::string& text);
// The next text; empty when there is none, or the other side has gone.
std::string receiveText(int line);

}  // namespace pallctl
