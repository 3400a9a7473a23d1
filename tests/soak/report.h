#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace soak {

// "12.345 s"
std::string formatSeconds(std::chrono::steady_clock::duration time);

// The result of a run: a table of two columns, and the failures.
class Report {
  public:
    void row(const std::string& what, const std::string& value) { rows_.emplace_back(what, value); }
    void row(const std::string& what, size_t number) { row(what, std::to_string(number)); }
    void fail(const std::string& what) { failures_.push_back(what); }
    // A row whose number has to be `wanted`.
    void expect(const std::string& what, size_t number, size_t wanted);

    bool passed() const { return failures_.empty(); }
    std::string text() const;  // Markdown table, then a line for each failure

  private:
    std::vector<std::pair<std::string, std::string>> rows_;
    std::vector<std::string> failures_;
};

}  // namespace soak
