#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// The content of the screen, independent of a terminal: lines of text in styles. Plain data.

namespace pallctl::top {

// The role of a text; the screen decides how it looks.
enum class Style {
    plain,
    title,    // the bar at the top
    heading,  // of a group or a panel
    dim,      // rarely needed
    changed,  // a value that changed just now
    good,
    bad,
    graph,
    selected,  // the selected row
    prompt,    // questions and answers
};

struct Span {
    std::string text;  // showable
    Style style = Style::plain;
};

using Line = std::vector<Span>;

// A position on the screen, from 0 at the upper left.
struct Place {
    std::size_t row = 0;
    std::size_t column = 0;
};

struct Size {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

// As many lines as the screen has rows, at most as wide as the screen.
struct ScreenContent {
    std::vector<Line> lines;
    std::optional<Place> cursor;  // while the user types
};

}  // namespace pallctl::top
