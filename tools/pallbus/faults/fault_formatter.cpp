#include <algorithm>
#include <array>
#include <charconv>

#include "cli/timed_script.h"
#include "pallbus/faults/fault_grammar.h"
#include "pallbus/faults/fault_parser.h"

namespace pallbus::faults {

namespace {

using namespace grammar;
using std::chrono::milliseconds;

const KindGrammar& findKind(FaultKind kind) {
    return *std::ranges::find(kKinds, kind, &KindGrammar::kind);
}

std::string formatDuration(milliseconds time) {
    return time.count() % 1000 == 0 ? std::to_string(time.count() / 1000) + "s"
                                    : std::to_string(time.count()) + "ms";
}

std::string formatOperand(const FaultRule& rule) {
    switch (findKind(rule.kind).operand) {
        case Operand::delay:
            return " " + formatDuration(rule.delayMin) +
                   (rule.delayMax == rule.delayMin ? "" : "-" + formatDuration(rule.delayMax));
        case Operand::messageCount:
        case Operand::byteCount:
            return " " + std::to_string(rule.count);
        case Operand::none:
        case Operand::duration:
            return "";
    }
    return "";
}

std::string formatPercent(double percent) {
    std::array<char, 400> digits{};  // enough for the smallest double
    const auto end =
        std::to_chars(digits.begin(), digits.end(), percent, std::chars_format::fixed).ptr;
    return std::string(digits.begin(), end) + "%";
}

std::string formatFrequency(const FaultRule& rule) {
    switch (rule.frequency) {
        case Frequency::always:
            break;
        case Frequency::percent:
            return " " + formatPercent(rule.percent);
        case Frequency::every:
            return " every " + std::to_string(rule.number);
        case Frequency::next:
            return " next " + std::to_string(rule.number);
    }
    return "";
}

std::string formatClient(const FaultRule& rule) {
    std::string direction;
    if ((findKind(rule.kind).modifiers & kFrom) != 0 && rule.direction != Direction::both) {
        direction = rule.direction == Direction::from ? " from" : " to";
    }
    if (!rule.client) {
        return direction.empty() ? "" : direction + " any";
    }
    return direction +
           (*rule.client == kDaemonID ? " daemon" : " client " + std::to_string(*rule.client));
}

}  // namespace

std::string formatFault(const FaultRule& rule) {
    return std::string(findKind(rule.kind).name) + formatOperand(rule) + formatFrequency(rule) +
           formatClient(rule) +
           (rule.object ? " object " + cli::script::quoted(*rule.object) : "") +
           (rule.duration ? " for " + formatDuration(*rule.duration) : "");
}

}  // namespace pallbus::faults
