#include "man_page.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <stdexcept>

namespace outside {

namespace {

using Line = std::vector<std::string>::const_iterator;

size_t depthOf(const std::string& line) {
    return std::min(line.find_first_not_of('\t'), line.size());
}

// In bold, with its text below it.
bool isHead(Line line, Line end) {
    const size_t depth = depthOf(*line);
    return depth < line->size() && (*line)[depth] == '*' && line + 1 != end &&
           depthOf(line[1]) == depth + 1 && line[1].size() > depth + 1;
}

std::string withoutMarks(const std::string& line) {
    return std::regex_replace(line, std::regex("[\t*_\\\\]"), "");
}

// Those of this depth, up to the first line that is less deep.
std::vector<Entry> entriesFrom(Line& line, Line end, size_t depth) {
    std::vector<Entry> entries;
    while (line != end && (line->empty() || depthOf(*line) >= depth)) {
        if (!line->empty() && depthOf(*line) == depth && isHead(line, end)) {
            const std::string head = withoutMarks(*line);
            entries.push_back({head, entriesFrom(++line, end, depth + 1)});
        } else {
            ++line;
        }
    }
    return entries;
}

}  // namespace

ManPage::ManPage(const std::string& name) {
    std::ifstream file("doc/man/" + name + ".scd");
    for (std::string line; std::getline(file, line);) {
        lines_.push_back(line);
    }
    if (lines_.empty()) {
        throw std::runtime_error("there is no page " + name);
    }
}

std::vector<std::string> ManPage::section(const std::string& name) const {
    const Line begin = std::find(lines_.begin(), lines_.end(), "# " + name);
    if (begin == lines_.end()) {
        return {};
    }
    const auto isSection = [](const std::string& line) { return line.compare(0, 2, "# ") == 0; };
    return {begin + 1, std::find_if(begin + 1, lines_.end(), isSection)};
}

std::vector<Entry> ManPage::entries(const std::string& name) const {
    const std::vector<std::string> lines = section(name);
    Line line = lines.begin();
    return entriesFrom(line, lines.end(), 0);
}

std::vector<std::string> ManPage::examples() const {
    std::vector<std::string> commands;
    bool inside = false;
    for (const std::string& line : section("EXAMPLES")) {
        if (line == "```") {
            inside = !inside;
        } else if (inside) {
            commands.push_back(line);
        }
    }
    return commands;
}

std::vector<std::string> ManPage::longOptions() const {
    static const std::regex kOption("--[a-z][a-z-]*");
    std::vector<std::string> found;
    for (const std::string& line : lines_) {
        const std::sregex_iterator matches(line.begin(), line.end(), kOption);
        std::transform(matches, std::sregex_iterator(), std::back_inserter(found),
                       [](const std::smatch& match) { return match.str(); });
    }
    return found;
}

}  // namespace outside
