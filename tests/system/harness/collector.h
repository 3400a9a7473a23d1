#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "deadline.h"
#include "pallframe/simulation/system_call.h"

namespace harness {

// Takes in what comes out of a pipe, at once and without end, so that the writer never waits for
// the test. Reads in a thread of its own; the calls are for the test's thread.
class Collector {
  public:
    Collector(std::string name, pallframe::simulation::Descriptor readEnd);
    ~Collector();  // does not wait for the writers
    Collector(const Collector&) = delete;
    Collector& operator=(const Collector&) = delete;

    std::string text() const;  // all so far

    // Waits until the text stands somewhere in what came; throws TimedOut with all that came.
    void waitFor(const std::string& text, const Deadline& deadline = Deadline());

    // Waits until no process holds the other end any more; gives everything.
    std::string waitForEnd(const Deadline& deadline = Deadline());

  private:
    template <typename Condition>
    void waitUntil(Condition holds, const std::string& what, const Deadline& deadline);
    void read();

    const std::string name_;
    const pallframe::simulation::Descriptor readEnd_;
    const pallframe::simulation::Descriptor stop_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string text_;
    bool ended_ = false;
    std::thread thread_;
};

}  // namespace harness
