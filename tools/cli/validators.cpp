#include "cli/validators.h"

#include <sys/stat.h>

#include <limits>
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

// The type and permissions of a file, 0 without one. On 32-bit machines, the status of
// std::filesystem has times of 32 bits, and fails for files that were changed after 2038-01-19.
mode_t readMode(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode : 0;
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
        const mode_t mode = readMode(path);
        const bool isFile = mode != 0 && !S_ISDIR(mode);
        return isFile ? "" : "no file " + quote(path);
    };
}

Validator existingDirectory() {
    return [](const std::string& path) {
        return S_ISDIR(readMode(path)) ? "" : "no directory " + quote(path);
    };
}

}  // namespace cli
