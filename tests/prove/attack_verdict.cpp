#include "attack_verdict.h"

#include <cstdio>

namespace prove {

namespace {

constexpr double kMostMemory = 48;  // MB
constexpr double kMostKept = 1;
constexpr double kLongestSilence = 10;  // seconds

std::string inTenths(double number) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f", number);
    return text.data();
}

}  // namespace

Damage carryOut(const Attack& attack, const std::string& program, rlim_t limit) {
    Ground ground(attack.product, program);
    ground.launch().limits[RLIMIT_AS] = limit;
    attack.carryOut(ground);
    return ground.assess();
}

std::string listOf(const std::vector<std::string>& lost) {
    std::string list;
    for (const std::string& one : lost) {
        list += (list.empty() ? "" : ", ") + one;
    }
    return list.empty() ? "nothing" : list;
}

std::string rowOf(const Attack& attack, const Damage& damage) {
    return std::string(attack.name) + " | " + inTenths(attack.received) + " | " +
           inTenths(damage.peak) + " | " + inTenths(damage.later) + " | " +
           inTenths(damage.blocked) + " | " + listOf(damage.lost);
}

std::string breachesOf(const Attack& attack, const Damage& damage) {
    std::string breaches;
    const auto note = [&](bool holds, const std::string& what) {
        if (!holds) {
            breaches += std::string("FAILED: ") + attack.name + ": " + what + "\n";
        }
    };
    note(damage.peak < attack.received + kMostMemory, "took " + inTenths(damage.peak) + " MB");
    note(damage.later < kMostKept, "kept " + inTenths(damage.later) + " MB");
    note(damage.blocked < kLongestSilence, "silent for " + inTenths(damage.blocked) + " s");
    note(damage.lost.empty(), "lost " + listOf(damage.lost));
    return breaches;
}

}  // namespace prove
