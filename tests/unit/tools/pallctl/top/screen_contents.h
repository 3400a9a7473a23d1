#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "pallctl/top/screen_content.h"

// What pictures look like as text.
namespace pallctl::top {

inline std::string textOf(const Line& line) {
    std::string text;
    for (const Span& span : line) {
        text += span.text;
    }
    return text.erase(text.find_last_not_of(' ') + 1);
}

inline std::vector<std::string> textsOf(const std::vector<Line>& lines) {
    std::vector<std::string> texts(lines.size());
    std::transform(lines.begin(), lines.end(), texts.begin(), textOf);
    return texts;
}

// The style of the span that holds the text; plain when there is none.
inline Style styleOf(const Line& line, const std::string& text) {
    for (const Span& span : line) {
        if (span.text.find(text) != std::string::npos) {
            return span.style;
        }
    }
    return Style::plain;
}

}  // namespace pallctl::top
