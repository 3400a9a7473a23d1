#include "soak_lib/report.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace soak {

std::string formatSeconds(std::chrono::steady_clock::duration time) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.3f s", std::chrono::duration<double>(time).count());
    return text.data();
}

void Report::expect(const std::string& what, size_t number, size_t wanted) {
    row(what, number);
    if (number != wanted) {
        fail(what + ": " + std::to_string(number) + " instead of " + std::to_string(wanted));
    }
}

std::string Report::text() const {
    size_t width = 0;
    for (const auto& [what, value] : rows_) {
        width = std::max(width, what.size());
    }
    std::string text =
        "| " + std::string(width, ' ') + " | |\n|" + std::string(width + 2, '-') + "|---|\n";
    for (const auto& [what, value] : rows_) {
        text.append("| ").append(what).append(width - what.size(), ' ');
        text.append(" | ").append(value).append(" |\n");
    }
    for (const std::string& failure : failures_) {
        text += "FAILED: " + failure + "\n";
    }
    return text;
}

}  // namespace soak
