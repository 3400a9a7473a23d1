#pragma once

#include <chrono>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/client.h"
#include "client/output.h"

namespace pallctl {

// Shows changes as they happen, one line each (changeLine). Reads everything first, and again
// whenever bus or daemon were away, and then prints what has changed meanwhile. Asks every few
// seconds whether the device still answers, and says when it does not. Used by one thread.
class Watch {
  public:
    // Without names everything is watched. With `table` everything read is printed first.
    Watch(const Reach& reach, const Style& style, const std::vector<std::string>& names,
          bool table);

    // Ends when standard output loses its reader, with kSuccess, or when there is nothing to watch
    // to begin with. Throws std::runtime_error when standard output cannot be written.
    ExitStatus run();

  private:
    // Whether the device still answers.
    struct Question {
        std::string id;
        Deadline deadline;
        bool busSpoke = false;  // since it was asked
    };

    ExitStatus begin();
    ExitStatus findNames() const;
    void printTable();
    void tellChanges();
    void follow();
    void catchUp();
    void ask();
    void take(const TarnInternalMessage& message);
    void giveUp();
    Deadline endOfTurn() const;
    void show(const Parameter& parameter);

    Client client_;
    Style style_;
    std::chrono::milliseconds usualPatience_;
    std::chrono::milliseconds patience_;
    std::vector<std::string> names_;  // what is asked for
    std::set<std::string> only_;      // what is shown; empty: everything
    bool table_;
    bool stale_ = false;  // something may have changed unheard
    Deadline nextQuestion_ = Deadline::max();
    std::optional<Question> question_;
};

}  // namespace pallctl
