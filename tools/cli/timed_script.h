#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/script_errors.h"

// The language of timed scripts:
namespace cli::script {

// One line of a script.
struct Line {
    std::chrono::milliseconds at{};  // since the start of the script
    std::vector<std::string> words;  // one at least
    int number = 0;                  // in the text, from 1

    bool operator==(const Line&) const = default;
};

// Limits of a script.
inline constexpr size_t kMaxScriptBytes = 1 << 20;  // bytes, also with its repetitions written out
inline constexpr size_t kMaxRepeatDepth = 8;        // repetitions in one another
inline constexpr std::chrono::hours kMaxDuration{24};

// Parses a script; `name` is its name in errors. The lines are in the order of the text, which is
// also that of their times. Throws Error with the first problem.
std::vector<Line> parse(std::string_view text, std::string_view name);

// The same, adding all errors; returns the lines that are valid.
std::vector<Line> parse(std::string_view text, Errors& errors);

// Quotes a word without a line end so that parse() returns it again.
std::string quoted(std::string_view word);

// The text of a script file, or of anything else that can be read to an end, such as a pipe. Throws
// Error, "cannot read PATH: reason".
std::string readFile(const std::string& path);

// The one form of durations on command lines and in scripts: "500ms", "1.5s", "3m", "1h", or "2"
// for seconds, up to kMaxDuration; otherwise empty.
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text);
// The error message for any other text.
std::string invalidDuration(std::string_view text);

}  // namespace cli::script
