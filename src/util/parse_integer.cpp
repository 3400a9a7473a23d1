#include "util/parse_integer.h"

#include <cerrno>
#include <cstdlib>
#include <limits>

namespace util {

bool parseWholeInteger(const std::string& text, int32_t& value) {
    constexpr int kBaseFromPrefix = 0;
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, kBaseFromPrefix);
    if (errno != 0 || text.empty() || end != text.c_str() + text.size()) {
        return false;
    }
    using Limits = std::numeric_limits<int32_t>;
    if (number < Limits::min() || number > Limits::max()) {
        return false;
    }
    value = static_cast<int32_t>(number);
    return true;
}

}  // namespace util
