#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/script_errors.h"

// The language that says what happens when, as a person writes it in a file:
//
//     # Both cables, one after the other.
//     at 2s      cable eth0 down          # counted from the start
//     after 500ms cable eth1 down         # counted from the line before
//     repeat 5                            # up to "end", which may stand after a time too
//         after 1s psu 1 11.5
//         psu 2 11.5                      # without a time: together with the line before
//     end
//
// In a repetition "at" counts from where each pass starts. Words are parted by blanks; quotes, 'as
// here' or "as here", keep blanks and "#" in a word, and in the latter a backslash keeps the sign
// behind it. What the words mean is the business of the program that reads the script.
//
// All calls are pure, and safe for any text.
namespace cli::script {

// One thing to be done.
struct Line {
    std::chrono::milliseconds at{};  // since the start of the script
    std::vector<std::string> words;  // one at least
    int number = 0;                  // in the text, from 1

    bool operator==(const Line&) const = default;
};

// How much a script may hold.
inline constexpr size_t kMaxScriptBytes = 1 << 20;  // bytes, also with its repetitions written out
inline constexpr size_t kMaxRepeatDepth = 8;        // repetitions in one another
inline constexpr std::chrono::hours kMaxDuration{24};

// Reads a script; `name` stands for it in errors. The lines come in the order of the text, which is
// also that of their times. Throws Error with the first problem.
std::vector<Line> parse(std::string_view text, std::string_view name);

// The same, adding all errors: gives the lines that can be read in spite of them.
std::vector<Line> parse(std::string_view text, Errors& errors);

// The word in quotes: parse makes it of that again, whatever it is without a line end.
std::string quoted(std::string_view word);

// "500ms", "2s", "1.5s", "3m", no longer than kMaxDuration; nothing for anything else.
std::optional<std::chrono::milliseconds> parseDuration(std::string_view text);
// The complaint about any other text.
std::string invalidDuration(std::string_view text);
// As it stands on a command line: also "2" and "0.5", which are seconds.
std::optional<std::chrono::milliseconds> parseTimeOption(std::string_view text);

}  // namespace cli::script
