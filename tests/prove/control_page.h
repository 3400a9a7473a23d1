#pragma once

#include <string>
#include <vector>

#include "control.h"

namespace prove {

// Which call or allocation of the daemon fails, and how. Neither: they are counted only.
struct Fault {
    uint32_t call = 0;  // from 1
    int failure = 0;    // an errno or one of control.h
    uint32_t allocation = 0;
    bool onwards = false;  // the calls behind it fail as well
};

// The proof's end of the control page.
class ControlPage {
  public:
    explicit ControlPage(const std::string& path);  // makes the file; throws std::system_error
    ~ControlPage();
    ControlPage(const ControlPage&) = delete;
    ControlPage& operator=(const ControlPage&) = delete;

    // From now on calls and allocations count, from 1.
    void arm(const Fault& fault);
    void disarm();

    bool hasFailed() const { return control_->given > 0; }
    uint32_t allocations() const { return control_->allocations; }
    std::vector<Call> calls() const;  // since it was armed
    std::string bytesOf(const Call& call) const;

    void refuseThreadsFor(int64_t milliseconds);

    const std::string& path() const { return path_; }

  private:
    std::string path_;
    Control* control_;
};

}  // namespace prove
