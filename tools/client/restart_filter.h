#pragma once

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "client/bus_session.h"

namespace client {

// Holds back what a restarted daemon starts with, such as voltages of 0, until it has measured: of
// the values that are read after the restart only those that differ from the ones before are news.
// Used by one thread.
class RestartFilter {
  public:
    // A restarted daemon has measured everything after that time.
    static constexpr std::chrono::seconds kSettleTime{5};

    // The value that the user knows, as text.
    void setKnown(const std::string& name, const std::string& text) { known_[name] = text; }
    // The daemon has restarted; its values are read again.
    void restart() { isRestarting_ = true; }
    // Whether a change is news. `isRead`: the value was read, not announced.
    bool isNews(const std::string& name, const std::string& text, bool isRead, Deadline now);

    // When the next held change is news; the far future without one.
    Deadline next() const { return held_.empty() ? Deadline::max() : until_; }
    // The parameters whose held changes are news now, in the order of the changes.
    std::vector<std::string> takeOverdue(Deadline now);

  private:
    std::map<std::string, std::string> known_;
    std::vector<std::string> held_;
    Deadline until_;
    bool isRestarting_ = false;  // until something is announced after the reading
};

}  // namespace client
