#include "pallctl/values/threshold.h"

#include <cmath>
#include <string_view>

#include "cli/parse_number.h"
#include "client/format_value.h"

namespace pallctl {

namespace {

constexpr std::string_view kNoLowEnd = "~";

std::optional<double> parseEnd(std::string_view text) {
    return cli::parseNumber<double>(text, -systemstate::kUnlimited, systemstate::kUnlimited);
}

std::optional<double> parseLowEnd(std::string_view text) {
    return text == kNoLowEnd ? -systemstate::kUnlimited : parseEnd(text);
}

std::optional<systemstate::Range> parseRange(std::string_view text) {
    const size_t colon = text.find(':');
    const bool hasLow = colon != std::string_view::npos;
    const std::string_view highText = hasLow ? text.substr(colon + 1) : text;
    const auto low = hasLow ? parseLowEnd(text.substr(0, colon)) : std::optional(0.0);
    const auto high =
        hasLow && highText.empty() ? std::optional(systemstate::kUnlimited) : parseEnd(highText);
    return low && high && *low <= *high ? std::optional(systemstate::Range{*low, *high})
                                        : std::nullopt;
}

std::string formatEnd(double end) {
    return client::formatValue({}, util::jsonNumber(end).get());
}

}  // namespace

std::optional<Threshold> parseThreshold(const std::string& text) {
    const bool alertsInside = text.starts_with('@');
    const auto range = parseRange(std::string_view(text).substr(alertsInside ? 1 : 0));
    return range ? std::optional(Threshold{*range, alertsInside}) : std::nullopt;
}

bool isAlert(const Threshold& threshold, double value) {
    return threshold.range.contains(value) == threshold.alertsInside;
}

std::string formatThreshold(const Threshold& threshold) {
    const auto [low, high] = threshold.range;
    if (!std::isfinite(low) && !std::isfinite(high) && !threshold.alertsInside) {
        return "";
    }
    return (threshold.alertsInside ? "@" : "") +
           (std::isfinite(low) ? formatEnd(low) : std::string(kNoLowEnd)) + ":" +
           (std::isfinite(high) ? formatEnd(high) : "");
}

}  // namespace pallctl
