#include "util/numbers.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "util/text.h"

namespace util {

namespace {

template <typename Integer>
Integer saturated(double value) {
    using Limits = std::numeric_limits<Integer>;
    // The upper end itself may not be a double (2^63 - 1 is not), the power of two above it is.
    const double above = std::ldexp(1.0, Limits::digits);
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= above) {
        return Limits::max();
    }
    if (value <= static_cast<double>(Limits::min())) {
        return Limits::min();
    }
    return static_cast<Integer>(value);
}

// True when the conversion that just stored `converted` and errno counts as one.
template <typename Number>
bool accepted(Number converted, bool outOfRange, bool consumed) {
    if (errno == ERANGE && outOfRange) {
        return false;
    }
    if (errno != 0 && converted == 0) {
        return false;
    }
    return consumed;
}

bool startsWithMinus(const std::string& text) {
    const size_t start = text.find_first_not_of(kWhiteSpace);
    return start != std::string::npos && text[start] == '-';
}

}  // namespace

int64_t saturatedInt64(double value) {
    return saturated<int64_t>(value);
}

int32_t saturatedInt32(double value) {
    return saturated<int32_t>(value);
}

uint32_t saturatedUInt32(double value) {
    return saturated<uint32_t>(value);
}

int64_t roundedInt64(double value) {
    constexpr double kAllWhole = 4503599627370496.0;  // 2^52: no fraction fits above it
    const int64_t whole = saturatedInt64(value);
    if (value >= kAllWhole || value <= -kAllWhole) {
        return whole;
    }
    const double fraction = value - static_cast<double>(whole);
    if (fraction >= 0.5) {
        return whole + 1;
    }
    return fraction <= -0.5 ? whole - 1 : whole;
}

bool parseLong(const std::string& text, int32_t& out, int base) {
    using Limits = std::numeric_limits<int32_t>;
    char* end = nullptr;
    errno = 0;
    const long long wide = std::strtoll(text.c_str(), &end, base);
    if (wide > Limits::max() || wide < Limits::min()) {
        errno = ERANGE;
    }
    out = static_cast<int32_t>(std::clamp<long long>(wide, Limits::min(), Limits::max()));
    const bool atAnEnd = out == Limits::max() || out == Limits::min();
    return accepted(out, atAnEnd, end != text.c_str());
}

bool parseULong(const std::string& text, uint32_t& out, int base) {
    const unsigned long long largest = std::numeric_limits<uint32_t>::max();
    char* end = nullptr;
    errno = 0;
    const unsigned long long wide = std::strtoull(text.c_str(), &end, base);
    // The conversion negates after reading, so it is the magnitude that has to fit: -1 is the
    // largest number, and so is -5000000000, but only the second is out of range.
    const unsigned long long magnitude = startsWithMinus(text) ? 0 - wide : wide;
    if (magnitude > largest || errno == ERANGE) {
        errno = ERANGE;
        out = static_cast<uint32_t>(largest);
    } else {
        out = static_cast<uint32_t>(wide & largest);
    }
    return accepted(out, out == largest, end != text.c_str());
}

bool parseFloat(const std::string& text, float& out) {
    char* end = nullptr;
    errno = 0;
    out = std::strtof(text.c_str(), &end);
    return accepted(out, out > std::numeric_limits<float>::max(), end != text.c_str());
}

}  // namespace util
