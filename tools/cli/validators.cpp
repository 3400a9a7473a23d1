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

// The parser accepts -1 for a large number, and its errors do not say what is valid.
template <typename Number>
Validator numberFrom(Number min, Number max, const std::string& valid) {
    return [=](const std::string& text) {
        return parseNumber(text, min, max) ? ""
                                           : "invalid number " + quote(text) + "; use " + valid;
    };
}

std::filesystem::file_status readStatus(const std::string& path) {
    std::error_code error;
    return std::filesystem::status(path, error);
}

}  // namespace

Validator wholeNumber(uint64_t min, uint64_t max) {
    return numberFrom(min, max,
                      "an integer from " + std::to_string(min) + " to " + std::to_string(max));
}

Validator portNumber() {
    return wholeNumber(0, std::numeric_limits<uint16_t>::max());
}

Validator numberBetween(double min, double max) {
    return numberFrom(min, max, "a number from " + formatNumber(min) + " to " + formatNumber(max));
}

Validator numberAboveZero() {
    using Limits = std::numeric_limits<double>;
    return numberFrom(Limits::denorm_min(), Limits::max(), "a number above 0");
}

Validator existingFile() {
    return [](const std::string& path) {
        const auto status = readStatus(path);
        const bool isFile = exists(status) && !is_directory(status);
        return isFile ? "" : "no file " + quote(path);
    };
}

Validator existingDirectory() {
    return [](const std::string& path) {
        return is_directory(readStatus(path)) ? "" : "no directory " + quote(path);
    };
}

}  // namespace cli
