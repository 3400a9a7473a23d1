#include "cli/validators.h"

#include <filesystem>
#include <sstream>

#include "cli/parse_number.h"

namespace cli {

namespace {

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

// As a person writes it, 0.001 and not 0.001000.
std::string written(double number) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

}  // namespace

// The library takes -1 for a large number, and says of other texts only that it could not convert
// them.
Validator wholeNumber(uint64_t least, uint64_t most) {
    return [least, most](const std::string& text) {
        const auto number = parseNumber<uint64_t>(text);
        return number && *number >= least && *number <= most
                   ? ""
                   : quoted(text) + " is no whole number from " + std::to_string(least) + " to " +
                         std::to_string(most);
    };
}

Validator portNumber() {
    return wholeNumber(0, std::numeric_limits<uint16_t>::max());
}

// A text that stands for no number (nan) is between no two.
Validator numberBetween(double least, double most) {
    return [least, most](const std::string& text) {
        const auto number = parseNumber<double>(text);
        return number && *number >= least && *number <= most
                   ? ""
                   : quoted(text) + " is no number from " + written(least) + " to " + written(most);
    };
}

Validator numberAboveZero() {
    return [](const std::string& text) {
        const auto number = parseNumber<double>(text);
        const bool isGood = number && *number > 0 && *number <= std::numeric_limits<double>::max();
        return isGood ? "" : quoted(text) + " is no number above 0";
    };
}

Validator existingFile() {
    return [](const std::string& path) {
        std::error_code error;
        const auto type = std::filesystem::status(path, error).type();
        const bool isThere = type != std::filesystem::file_type::not_found &&
                             type != std::filesystem::file_type::none;
        return isThere && type != std::filesystem::file_type::directory ? ""
                                                                        : "no file " + quoted(path);
    };
}

Validator existingDirectory() {
    return [](const std::string& path) {
        std::error_code error;
        return std::filesystem::is_directory(path, error) ? "" : "no directory " + quoted(path);
    };
}

}  // namespace cli
