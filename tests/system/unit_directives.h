#pragma once

#include <fstream>
#include <string>
#include <vector>

namespace outside {

inline constexpr const char* kUnit = "packaging/pallwatch.service";

// One line of a systemd unit, "name=value" below "[section]".
struct Directive {
    std::string section;
    std::string name;
    std::string value;
};

// In the order of the file; empty if there is no such file.
inline std::vector<Directive> readDirectives(const std::string& unit = kUnit) {
    std::vector<Directive> found;
    std::ifstream file(unit);
    std::string section;
    for (std::string line; std::getline(file, line);) {
        const size_t equals = line.find('=');
        if (!line.empty() && line.front() == '[') {
            section = line;
        } else if (equals != std::string::npos && line.front() != '#') {
            found.push_back({section, line.substr(0, equals), line.substr(equals + 1)});
        }
    }
    return found;
}

// Empty if the unit does not have it.
inline std::string readDirective(const std::string& name, const std::string& unit = kUnit) {
    for (const Directive& directive : readDirectives(unit)) {
        if (directive.name == name) {
            return directive.value;
        }
    }
    return "";
}

}  // namespace outside
