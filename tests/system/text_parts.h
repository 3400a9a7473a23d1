#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace outside {

// What stands before each of these characters, and what is left behind the last one.
inline std::vector<std::string> partsOf(const std::string& text, char end) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, end);) {
        parts.push_back(part);
    }
    return parts;
}

inline std::vector<std::string> linesOf(const std::string& text) {
    return partsOf(text, '\n');
}

}  // namespace outside
