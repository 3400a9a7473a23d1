#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

// What a screen is to show, without a terminal: lines of text in styles. Plain data.

namespace pallctl::top {

// What a piece of text is; the screen decides what that looks like.
enum class Style {
    plain,
    title,    // the bar at the top
    heading,  // of a group or a panel
    dim,      // what is seldom needed
    changed,  // a value that has just changed
    good,
    bad,
    graph,
    selected,  // the row that keys act on
    prompt,    // what the person is asked, and answers
};

struct Span {
    std::string text;  // showable
    Style style = Style::plain;
};

using Line = std::vector<Span>;

// A place on the screen, from 0 at the upper left.
struct Place {
    std::size_t row = 0;
    std::size_t column = 0;
};

struct Size {
    std::size_t rows = 0;
    std::size_t columns = 0;
};

// As many lines as the screen has rows, none wider than its columns.
struct ScreenContent {
    std::vector<Line> lines;
    std::optional<Place> cursor;  // where the person types, if anywhere
};

}  // namespace pallctl::top
