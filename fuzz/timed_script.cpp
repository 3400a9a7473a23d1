// A script is either refused with its file and a line that it has, or is a bounded list in which
// time never runs backwards.

#include "cli/timed_script.h"

#include <algorithm>

#include "fuzz_target.h"

namespace {

void requireInOrder(const std::vector<cli::script::Line>& lines, int lastNumber) {
    require(lines.size() <= cli::script::kMaxScriptBytes);
    std::chrono::milliseconds before{};
    for (const cli::script::Line& line : lines) {
        require(!line.words.empty());
        require(line.number >= 1 && line.number <= lastNumber);
        require(line.at >= before && line.at <= cli::script::kMaxDuration);
        before = line.at;
    }
}

void requireNamesALine(const std::string& problem, int lastNumber) {
    require(problem.starts_with("name:"));
    const int number = std::stoi(problem.substr(5));
    require(number >= 1 && number <= lastNumber);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = textOf(data, size);
    const int lastNumber = 1 + static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    try {
        requireInOrder(cli::script::parse(text, "name"), lastNumber);
    } catch (const cli::script::Error& error) {
        requireNamesALine(error.what(), lastNumber);
    }
    const auto duration = cli::script::parseDuration(text);
    require(!duration || (duration->count() >= 0 && *duration <= cli::script::kMaxDuration));
    return 0;
}
