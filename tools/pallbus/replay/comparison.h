#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "pallbus/replay/json_diff.h"
#include "pallbus/replay/replay_plan.h"

namespace pallbus::replay {

// One difference between the device and the recording.
struct Deviation {
    std::chrono::microseconds at{};  // in the recording
    std::string what;                // message and member, "RSP system 1@5 param.systemName"
    std::string expected;            // "nothing" for an extra message
    std::string got;                 // "nothing" for a missing message

    bool operator==(const Deviation&) const = default;
};

struct Report {
    std::vector<Deviation> deviations;  // in the order of their times
    size_t compared = 0;                // expected messages
    size_t different = 0;               // expected messages with other content
    size_t missing = 0;
    size_t extra = 0;        // messages that were not expected
    size_t disconnects = 0;  // lost connections
};

// Compares the messages of a device with the recorded ones. Messages of the same subject are
// compared in their order: notifications and requests with the same names, responses with the same
// names to requests with the same id. The order between subjects does not matter, because the
// device's status poll has a clock of its own. Ids that the device generates do not matter either.
// Used by one thread.
class Comparison {
  public:
    // The caller's `steps` outlive this.
    Comparison(const std::vector<Step>& steps, IgnoredNames ignored);

    // Adds a message that the device sent when the replay was at this time of the recording.
    void addMessage(std::chrono::microseconds at, std::string payload);

    // The device closed its connection, which it had not done in the recording.
    void addDisconnect(std::chrono::microseconds at) { disconnects_.push_back(at); }

    // True for an expected message that has not arrived and whose subject has not timed out.
    bool isExpected(size_t step) const;
    // Stops waiting for messages of the step's subject.
    void timeOut(size_t step);

    // The payload to send: a response to a request of the device carries the id of the request in
    // this run, not the recorded id.
    std::string rewriteIDs(const std::string& payload) const;

    Report report() const;

  private:
    struct Got {
        std::chrono::microseconds at{};
        std::string payload;
    };
    struct Subject {
        std::vector<size_t> steps;  // that expect a message
        std::vector<Got> got;
        bool timedOut = false;
    };

    bool isExcluded(std::string_view payload) const;
    void compare(const Subject& subject, Report& report) const;

    const std::vector<Step>& steps_;
    const IgnoredNames ignored_;
    std::map<std::string, Subject> subjects_;
    std::map<size_t, std::pair<std::string, size_t>> positions_;  // step to subject and index
    std::map<std::string, std::string> currentIDs_;               // by recorded id
    std::vector<std::chrono::microseconds> disconnects_;
};

}  // namespace pallbus::replay
