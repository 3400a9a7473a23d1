#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "control_page.h"
#include "harness/frame.h"
#include "harness/syslog_receiver.h"
#include "subject.h"
#include "wire.h"

namespace prove {

// What an attack did to the daemon. Sizes are in MB of 2^20 bytes.
struct Damage {
    double peak = 0;                // resident memory above the start
    double later = 0;               // the same 5 s after the attack
    double blocked = 0;             // seconds: the longest time without an answer
    std::vector<std::string> lost;  // each a few words
    bool lives = false;             // it still answers and has its settings
};

// The frame, the bus and the daemon of one attack. The calls are for one thread.
class Ground {
  public:
    Ground(std::string_view product, const std::string& program);
    ~Ground();

    const harness::Frame& frame() const { return frame_; }
    Wire& wire() { return wire_; }
    Launch& launch() { return launch_; }  // to be changed before the start
    ControlPage& page() { return page_; }

    // With the system log that reads everything, unless the attack has its own.
    void keepLog() { log_.emplace(); }
    harness::SyslogReceiver* log() { return log_ ? &*log_ : nullptr; }

    // Starts the daemon, gives it settings to keep and remembers its size. False, and a loss noted,
    // when it does not come up in that time.
    bool start(std::chrono::milliseconds patience = std::chrono::seconds(12));

    // Takes another process for the daemon: one that detached itself.
    void follow(pid_t pid);

    // A set of "system" with an id; whether it was answered with that status in time.
    bool isSet(const std::string& param, int status = 200,
               std::chrono::milliseconds patience = std::chrono::seconds(30));

    void lose(const std::string& what) { damage_.lost.push_back(what); }
    void limitFiles(rlim_t bytes) const;  // of the running daemon

    // Looks whether everything is still there and ends the daemon with SIGTERM, which it has to
    // follow within 2 s: for attacks that go on until then.
    void stopNow();

    void notBelow(double blocked);  // at least so many seconds without the daemon

    // What the attack led to, 5 s later, and the daemon's end, unless that was before.
    Damage assess();

  private:
    void watchMemory();
    double megabytes(const char* field) const;
    void checkLife();

    harness::Frame frame_;
    Wire wire_;
    ControlPage page_{"/run/prove-control"};
    std::optional<harness::SyslogReceiver> log_;
    Launch launch_;
    std::optional<Subject> daemon_;
    std::atomic<pid_t> pid_ = 0;
    std::atomic<bool> ends_ = false;
    std::atomic<double> peak_ = 0;
    std::thread watcher_;
    double base_ = 0;
    double least_ = 0;
    unsigned sets_ = 0;
    bool stopped_ = false;
    Damage damage_;
};

}  // namespace prove
