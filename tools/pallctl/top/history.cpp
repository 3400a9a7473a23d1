#include "pallctl/top/history.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace pallctl::top {

namespace {

constexpr double kMinHeightShare = 0.05;

constexpr std::array<const char*, 8> kBlocks{"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::array<const char*, 8> kLetters{"_", ".", ":", "-", "=", "+", "*", "#"};

std::size_t computeLevel(double reading, const Scale& scale) {
    const double part =
        scale.high > scale.low ? (reading - scale.low) / (scale.high - scale.low) : 0;
    const double level = std::floor(part * static_cast<double>(kBlocks.size()));
    return static_cast<std::size_t>(
        std::clamp(level, 0.0, static_cast<double>(kBlocks.size() - 1)));
}

Reading findLowest(const std::vector<Reading>& readings) {
    const std::optional<Scale> scale = findScale(readings);
    return scale ? Reading(scale->low) : std::nullopt;
}

// The intervals of a graph of `count` columns.
struct Intervals {
    Moment length;
    Moment begin;  // of the first
};

Intervals divide(Moment now, std::size_t count) {
    const Moment length = Moment(kGraphSpan) / static_cast<Moment::rep>(count);
    return {length, (now / length + 1) * length - static_cast<Moment::rep>(count) * length};
}

}  // namespace

void History::add(Moment at, Reading reading) {
    samples_.push_back({at, reading});
    while (samples_.size() > 1 && samples_[1].at <= at - kGraphSpan) {
        samples_.pop_front();
    }
}

Reading History::last() const {
    return samples_.empty() ? std::nullopt : samples_.back().reading;
}

std::vector<Reading> History::lowest(Moment now, std::size_t count) const {
    std::vector<Reading> readings;
    if (count == 0) {
        return readings;
    }
    const Intervals intervals = divide(now, count);
    for (std::size_t column = 0; column < count; ++column) {
        const Moment from = intervals.begin + static_cast<Moment::rep>(column) * intervals.length;
        const Moment to = std::min(from + intervals.length, now + Moment(1));
        readings.push_back(findLowest(readingsBetween(from, to)));
    }
    return readings;
}

std::vector<Reading> History::all(Moment now, std::size_t count) const {
    const Moment from = count == 0 ? now - Moment(kGraphSpan) : divide(now, count).begin;
    return readingsBetween(from, now + Moment(1));
}

// The reading that was valid at the beginning comes first.
std::vector<Reading> History::readingsBetween(Moment from, Moment to) const {
    const auto isLater = [](Moment time, const Sample& sample) { return time < sample.at; };
    auto sample = std::upper_bound(samples_.begin(), samples_.end(), from, isLater);
    sample -= sample != samples_.begin() ? 1 : 0;
    std::vector<Reading> readings;
    for (; sample != samples_.end() && sample->at < to; ++sample) {
        readings.push_back(sample->reading);
    }
    return readings;
}

std::optional<Scale> findScale(const std::vector<Reading>& readings) {
    std::optional<Scale> scale;
    for (const Reading& reading : readings) {
        if (reading) {
            scale = scale.value_or(Scale{*reading, *reading});
            scale->low = std::min(scale->low, *reading);
            scale->high = std::max(scale->high, *reading);
        }
    }
    return scale;
}

std::string sparkline(const std::vector<Reading>& readings, const Scale& scale, Charset charset) {
    const double lacking = kMinHeightShare * std::abs(scale.high) - (scale.high - scale.low);
    const double widening = std::max(0.0, lacking / 2);
    const Scale shown{scale.low - widening, scale.high + widening};
    const auto& marks = charset == Charset::unicode ? kBlocks : kLetters;
    std::string graph;
    for (const Reading& reading : readings) {
        graph += reading ? marks[computeLevel(*reading, shown)] : " ";
    }
    return graph;
}

}  // namespace pallctl::top
