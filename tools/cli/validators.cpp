#include "cli/validators.h"

#include <filesystem>
#include <sstream>

#include "cli/parse_number.h"

namespace cli {

namespace {

std::string quote(const std::string& text) {
    return "'" + text + "'";
}

// 0.001, not 0.001000.
std::string formatNumber(double number) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

}  // namespace

// The parser accepts -1 for a large number, and its errors do not say what is valid.
Validator wholeNumber(uint64_t min, uint64_t max) {
    return [min, max](const std::string& text) {
        const auto number = parseNumber<uint64_t>(text);
        return number && *number >= min && *number <= max
                   ? ""
                   : "invalid number " + quote(text) + "; use an integer from " +
                         std::to_string(min) + " to " + std::to_string(max);
    };
}

Validator portNumber() {
    return wholeNumber(0, std::numeric_limits<uint16_t>::max());
}

// Never "nan".
Validator numberBetween(double min, double max) {
    return [min, max](const std::string& text) {
        const auto number = parseNumber<double>(text);
        return number && *number >= min && *number <= max
                   ? ""
                   : "invalid number " + quote(text) + "; use a number from " + formatNumber(min) +
                         " to " + formatNumber(max);
    };
}

Validator numberAboveZero() {
    return [](const std::string& text) {
        const auto number = parseNumber<double>(text);
        const bool isGood = number && *number > 0 && *number <= std::numeric_limits<double>::max();
        return isGood ? "" : "invalid number " + quote(text) + "; use a number above 0";
    };
}

Validator existingFile() {
    return [](const std::string& path) {
        std::error_code error;
        const auto type = std::filesystem::status(path, error).type();
        const bool isThere = type != std::filesystem::file_type::not_found &&
                             type != std::filesystem::file_type::none;
        return isThere && type != std::filesystem::file_type::directory ? ""
                                                                        : "no file " + quote(path);
    };
}

Validator existingDirectory() {
    return [](const std::string& path) {
        std::error_code error;
        return std::filesystem::is_directory(path, error) ? "" : "no directory " + quote(path);
    };
}

}  // namespace cli
