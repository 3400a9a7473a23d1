#include <algorithm>
#include <array>
#include <charconv>

#include "program/timed_script.h"
#include "trouble/vocabulary.h"
#include "trouble/words.h"

namespace pallbus {

namespace {

using namespace vocabulary;
using std::chrono::milliseconds;

const Word& wordOf(Kind kind) {
    return *std::ranges::find(kWords, kind, &Word::kind);
}

std::string timeText(milliseconds time) {
    return time.count() % 1000 == 0 ? std::to_string(time.count() / 1000) + "s"
                                    : std::to_string(time.count()) + "ms";
}

std::string operandText(const Rule& rule) {
    switch (wordOf(rule.kind).operand) {
        case Operand::delay:
            return " " + timeText(rule.delayLeast) +
                   (rule.delayMost == rule.delayLeast ? "" : "-" + timeText(rule.delayMost));
        case Operand::joined:
        case Operand::corrupted:
            return " " + std::to_string(rule.count);
        case Operand::none:
        case Operand::time:
            return "";
    }
    return "";
}

std::string percentText(double percent) {
    std::array<char, 400> digits{};  // enough for the smallest share there is
    const auto end =
        std::to_chars(digits.begin(), digits.end(), percent, std::chars_format::fixed).ptr;
    return std::string(digits.begin(), end) + "%";
}

std::string oftenText(const Rule& rule) {
    switch (rule.often) {
        case Often::each:
            break;
        case Often::percent:
            return " " + percentText(rule.percent);
        case Often::every:
            return " every " + std::to_string(rule.number);
        case Often::next:
            return " next " + std::to_string(rule.number);
    }
    return "";
}

std::string whoText(const Rule& rule) {
    std::string way;
    if ((wordOf(rule.kind).takes & kFrom) != 0 && rule.direction != Direction::both) {
        way = rule.direction == Direction::from ? " from" : " to";
    }
    if (!rule.client) {
        return way.empty() ? "" : way + " anyone";
    }
    return way + (*rule.client == kDaemon ? " daemon" : " client " + std::to_string(*rule.client));
}

}  // namespace

std::string textOf(const Rule& rule) {
    return std::string(wordOf(rule.kind).name) + operandText(rule) + oftenText(rule) +
           whoText(rule) + (rule.object ? " object " + script::quoted(*rule.object) : "") +
           (rule.time ? " for " + timeText(*rule.time) : "");
}

}  // namespace pallbus
