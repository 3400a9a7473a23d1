#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace prove {

// What came out of the cases of one kind.
struct Counts {
    size_t cases = 0;
    size_t ended = 0;     // of them: the daemon ended by itself, which it may when it cannot start
    size_t foundOld = 0;  // the next start had the settings from before
    size_t foundNew = 0;  // it had those that were sent
    size_t lost = 0;      // it had others, or none

    void add(const Counts& other);
};

// The books of a proof: counts by kind, in the order of their names, and a line for each loss.
// Several programs keep such books and send them to the one that prints them.
class Tally {
  public:
    Counts& of(const std::string& kind) { return kinds_[kind]; }
    void lose(const std::string& kind, const std::string& how);

    // For another program, a line for each count and each loss; take() reads such lines. A line
    // that is none is a loss by itself.
    std::string sent() const;
    void take(const std::string& kind, const std::string& sent);

    bool passed() const { return losses_.empty(); }
    std::string table() const;  // Markdown, then a line for each loss

  private:
    std::map<std::string, Counts> kinds_;
    std::vector<std::string> losses_;
};

}  // namespace prove
