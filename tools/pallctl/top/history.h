#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "pallctl/top/text.h"

namespace pallctl::top {

// Time since the view, or what it plays, began.
using Moment = std::chrono::microseconds;

// How far back the graphs go.
inline constexpr std::chrono::minutes kGraphSpan{4};

// A column of a graph: nothing while nothing was known.
using Reading = std::optional<double>;

// What one voltage was over the last minutes. A reading holds until the next one. Plain data.
class History {
  public:
    // Takes a reading, or that nothing is known from now on. Times do not go back.
    void add(Moment at, Reading reading);
    // The last one taken.
    Reading last() const;

    // The lowest reading of each of `count` equal stretches of time, the last of which is now: what
    // a supply fell to is what matters of it. The stretches begin at multiples of their length, so
    // that a graph stands still between two of them.
    std::vector<Reading> lowest(Moment now, std::size_t count) const;

  private:
    struct Sample {
        Moment at;
        Reading reading;
    };

    Reading lowestBetween(Moment from, Moment to) const;

    std::deque<Sample> samples_;  // one that is older than the graphs, then all since
};

// The lowest and the highest of what a graph shows.
struct Scale {
    double low = 0;
    double high = 0;
};

// Nothing when there are no readings.
std::optional<Scale> scaleOf(const std::vector<Reading>& readings);

// One character for each reading, a blank for none. The graph is never stretched so far that noise
// looks like an event: its height stands for 5 % of the highest reading at least.
std::string sparkline(const std::vector<Reading>& readings, const Scale& scale, Charset charset);

}  // namespace pallctl::top
