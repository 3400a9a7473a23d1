#include "pallframe/doctor/interpreters.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace pallframe::doctor {

namespace {

constexpr const char* kBlanks = " \t";

std::string trimmed(const std::string& text) {
    const size_t begin = std::min(text.find_first_not_of(kBlanks), text.size());
    return text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// The program that env looks for. The kernel passes the rest of the line to env as one word
// (execve(2)); with -S, env splits it.
std::string nameBehindEnv(const std::string& word) {
    constexpr std::string_view kTakeApart = "-S";
    if (!word.starts_with(kTakeApart)) {
        return word;
    }
    std::istringstream words(word.substr(kTakeApart.size()));
    std::string name;
    while (words >> name && (name.starts_with("-") || name.find('=') != std::string::npos)) {
    }
    return name;
}

}  // namespace

std::vector<std::string> findInterpreters(const std::string& text) {
    constexpr std::string_view kMark = "#!";
    if (!text.starts_with(kMark)) {
        return {};
    }
    const std::string line = trimmed(text.substr(kMark.size(), text.find('\n') - kMark.size()));
    const size_t end = std::min(line.find_first_of(kBlanks), line.size());
    std::vector<std::string> all{line.substr(0, end)};
    if (all[0].ends_with("/env")) {
        all.push_back(nameBehindEnv(trimmed(line.substr(end))));
    }
    std::erase(all, "");
    return all;
}

}  // namespace pallframe::doctor
