#pragma once

#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "util/log.h"

// Collects what is logged while it lives, from any thread.
class CapturedLog {
  public:
    struct Line {
        int priority;
        std::string text;
        bool operator==(const Line&) const = default;
        friend void PrintTo(const Line& line, std::ostream* out) {
            *out << "<" << line.priority << "> " << line.text;
        }
    };

    CapturedLog()
        : previous_(util::replaceLogSink([this](int priority, const std::string& text) {
              const std::lock_guard<std::mutex> lock(mutex_);
              lines_.push_back({priority, text});
          })) {}
    ~CapturedLog() { util::replaceLogSink(std::move(previous_)); }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;

    std::vector<Line> lines() const {
        const std::lock_guard<std::mutex> lock(mutex_);
        return lines_;
    }

    // Gives the lines so far and forgets them.
    std::vector<Line> take() {
        const std::lock_guard<std::mutex> lock(mutex_);
        return std::exchange(lines_, {});
    }

  private:
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
    util::LogSink previous_;
};
