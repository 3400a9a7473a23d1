#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "replay/difference.h"
#include "replay/plan.h"

namespace replay {

// One thing that a device did otherwise than recorded.
struct Deviation {
    std::chrono::microseconds at{};  // in the recording
    std::string what;                // message and place, "RSP system 1@5 param.systemName"
    std::string expected;            // "nothing" for a message that is too many
    std::string got;                 // "nothing" for one that is missing

    bool operator==(const Deviation&) const = default;
};

struct Report {
    std::vector<Deviation> deviations;  // in the order of their times
    size_t compared = 0;                // messages expected
    size_t different = 0;               // that came, but otherwise
    size_t missing = 0;
    size_t extra = 0;  // messages not expected
    size_t lost = 0;   // connections
};

// Holds what a device says now against what it said then. Messages about the same subject are held
// against each other in their order: announcements and requests of the same names, answers of the
// same names to requests of the same id. The order of different subjects does not count, for the
// device's status poll has a clock of its own. Ids that the device gives do not count either.
// Used by one thread.
class Comparison {
  public:
    // `steps` stays the caller's and has to outlive this.
    Comparison(const std::vector<Step>& steps, Names ignored);

    // Takes a message that the device sent when the replay was at this time of the recording.
    void take(std::chrono::microseconds at, std::string payload);

    // The device closed its connection, which then it had not.
    void takeLoss(std::chrono::microseconds at) { losses_.push_back(at); }

    // True for an expected message that has not come and has not been given up.
    bool isAwaited(size_t step) const;
    // Nothing more about the subject of this step is waited for.
    void giveUp(size_t step);

    // The payload as the device has to get it now: an answer to a request of its own carries the
    // id that this request has today.
    std::string forToday(const std::string& payload) const;

    Report report() const;

  private:
    struct Got {
        std::chrono::microseconds at{};
        std::string payload;
    };
    struct Subject {
        std::vector<size_t> steps;  // that expect a message of it
        std::vector<Got> got;
        bool givenUp = false;
    };

    bool isLeftOut(std::string_view payload) const;
    void compare(const Subject& subject, Report& report) const;

    const std::vector<Step>& steps_;
    const Names ignored_;
    std::map<std::string, Subject> subjects_;
    std::map<size_t, std::pair<std::string, size_t>>
        places_;                                   // of a step: subject, and where in it
    std::map<std::string, std::string> idsToday_;  // by recorded id
    std::vector<std::chrono::microseconds> losses_;
};

}  // namespace replay
