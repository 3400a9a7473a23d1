#include "tally.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace prove {

namespace {

constexpr const char* kCountsWord = "counts";
constexpr const char* kLostWord = "lost";

constexpr std::array<size_t Counts::*, 5> kFields{&Counts::cases, &Counts::ended, &Counts::foundOld,
                                                  &Counts::foundNew, &Counts::lost};

}  // namespace

void Counts::add(const Counts& other) {
    for (const auto field : kFields) {
        this->*field += other.*field;
    }
}

void Tally::lose(const std::string& kind, const std::string& how) {
    ++kinds_[kind].lost;
    losses_.push_back(kind + ": " + how);
}

std::string Tally::sent() const {
    std::ostringstream text;
    for (const auto& [kind, counts] : kinds_) {
        text << kCountsWord;
        for (const auto field : kFields) {
            text << ' ' << counts.*field;
        }
        text << ' ' << kind << '\n';
    }
    for (const std::string& loss : losses_) {
        text << kLostWord << ' ' << loss << '\n';
    }
    return text.str();
}

void Tally::take(const std::string& kind, const std::string& sent) {
    if (sent.empty()) {
        lose(kind, "the proof said nothing");
    }
    std::istringstream lines(sent);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word, rest;
        words >> word;
        if (word == kCountsWord) {
            Counts counts;
            for (const auto field : kFields) {
                words >> counts.*field;
            }
            std::getline(words >> std::ws, rest);
            kinds_[rest].add(counts);
        } else if (word == kLostWord) {
            std::getline(words >> std::ws, rest);
            losses_.push_back(rest);
        } else {
            lose(kind, line);
        }
    }
}

std::string Tally::table() const {
    size_t width = 0;
    for (const auto& [kind, counts] : kinds_) {
        width = std::max(width, kind.size());
    }
    std::ostringstream text;
    text << "| " << std::string(width, ' ')
         << " | cases | ended by itself | old settings | new settings | lost |\n|"
         << std::string(width + 2, '-') << "|---|---|---|---|---|\n";
    for (const auto& [kind, counts] : kinds_) {
        text << "| " << kind << std::string(width - kind.size(), ' ');
        for (const auto field : kFields) {
            text << " | " << counts.*field;
        }
        text << " |\n";
    }
    for (const std::string& loss : losses_) {
        text << "LOST: " << loss << "\n";
    }
    return text.str();
}

}  // namespace prove
