#pragma once

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "pallctl/top/display_text.h"

namespace pallctl::top {

// Time since the start of the view, or of the recording.
using Moment = std::chrono::microseconds;

// The time span of the graphs.
inline constexpr std::chrono::minutes kGraphSpan{4};

// A value that was read, or a column of a graph; empty when it is unknown.
using Reading = std::optional<double>;

// The readings of one voltage over the last minutes. A reading is valid until the next one. Plain
// data.
class History {
  public:
    // Adds a reading, or an empty one when the value is unknown from now on. Times do not go back.
    void add(Moment at, Reading reading);
    // The last reading added.
    Reading last() const;

    // The lowest reading in each of `count` equal intervals, the last of which is now: the minimum
    // of a supply is what matters. The intervals begin at multiples of their length, so that a
    // graph does not move between two of them.
    std::vector<Reading> lowest(Moment now, std::size_t count) const;
    // All readings that were valid in those intervals; with a count of 0 in the whole time span of
    // the graphs.
    std::vector<Reading> all(Moment now, std::size_t count) const;

  private:
    struct Sample {
        Moment at;
        Reading reading;
    };

    std::vector<Reading> readingsBetween(Moment from, Moment to) const;

    std::deque<Sample> samples_;  // the last one older than the graphs, and all since
};

// The lowest and the highest value of a graph.
struct Scale {
    double low = 0;
    double high = 0;
};

// Empty without readings.
std::optional<Scale> findScale(const std::vector<Reading>& readings);

// One character for each reading, a blank for an empty one. The graph is stretched only so far that
// noise does not look like an event: its height is at least 5 % of the highest reading.
std::string sparkline(const std::vector<Reading>& readings, const Scale& scale, Charset charset);

}  // namespace pallctl::top
