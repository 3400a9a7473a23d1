#pragma once

#include <condition_variable>
#include <mutex>
#include <ostream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "deadline.h"
#include "pallframe/simulation/system_call.h"

namespace harness {

// One line that a program sent to the system log.
struct LogLine {
    int priority = -1;  // LOG_EMERG (0) to LOG_DEBUG (7)
    int facility = -1;  // as in <syslog.h>: LOG_USER, LOG_LOCAL2
    std::string ident;
    std::string text;  // exactly as the program gave it, with its line end if it has one

    bool operator==(const LogLine&) const = default;
};

void PrintTo(const LogLine& line, std::ostream* out);

// "<priority>Mmm dd hh:mm:ss ident[pid]: text" (RFC 3164) taken apart; what does not fit stays at
// its default.
LogLine parseLogLine(std::string_view datagram);

// How many datagrams the sockets that are opened from now on hold, where this frame may say so. The
// kernel's own number is 10.
void setLogQueue(int lines);

// The system log of this frame: owns /dev/log from construction on, as syslogd would. Receives in a
// thread of its own, so that no program waits on a full log; the calls are for the test's thread.
class SyslogReceiver {
  public:
    SyslogReceiver();  // throws std::system_error, also when /dev/log is taken
    ~SyslogReceiver();
    SyslogReceiver(const SyslogReceiver&) = delete;
    SyslogReceiver& operator=(const SyslogReceiver&) = delete;

    std::vector<LogLine> lines() const;  // all so far, in the order they came

    // All that were sent before this call, also those that have not been received yet: what is not
    // among them was not logged.
    std::vector<LogLine> linesUntilNow();

    // Waits for a line that holds the text, looking only at lines that earlier calls have not
    // passed over: so consecutive calls prove an order. Throws TimedOut with all lines.
    LogLine waitFor(const std::string& text, const Deadline& deadline = Deadline());

  private:
    void receive();
    void take(std::string_view datagram);

    pallframe::simulation::Descriptor socket_;
    pallframe::simulation::Descriptor stop_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<LogLine> lines_;
    size_t passed_ = 0;
    size_t marks_ = 0;  // how many were received
    std::thread thread_;
};

}  // namespace harness
