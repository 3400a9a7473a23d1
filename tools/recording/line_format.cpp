// Lines are written as text and read with the JSON library. A time is accepted only if it is
// written back as the same text.

#include "recording/line_format.h"

#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>

#include "recording/payload_encoding.h"
#include "util/json.h"

namespace recording {

namespace {

using std::chrono::microseconds;
using std::chrono::system_clock;

constexpr int kFormat = 1;

// 31 years; a double still tells microseconds apart.
constexpr double kMaxSeconds = 1e9;

// UTC, as in RFC 3339.
std::string formatWallClock(system_clock::time_point time) {
    const auto second = std::chrono::floor<std::chrono::seconds>(time);
    const std::time_t seconds = system_clock::to_time_t(second);
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    std::array<char, 64> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
    return text.data() + secondsText(std::chrono::floor<microseconds>(time - second)).substr(1) +
           "Z";
}

system_clock::time_point parseWallClock(const std::string& text) {
    constexpr int kFirstYear = 1970 - 1900;
    constexpr int kEndYear = 2262 - 1900;  // of a clock that counts nanoseconds
    std::tm utc{};
    const char* const rest = ::strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S.", &utc);
    if (rest && std::strlen(rest) == std::strlen("000000Z") && utc.tm_year >= kFirstYear &&
        utc.tm_year < kEndYear) {
        const auto time = system_clock::from_time_t(::timegm(&utc)) +
                          microseconds(std::strtol(rest, nullptr, 10));
        // Only a text that is written the same way was read correctly.
        if (formatWallClock(time) == text) {
            return time;
        }
    }
    throw std::runtime_error("\"start\" is not a time such as 2026-11-21T15:30:00.000000Z");
}

// The JSON library would end the text at an escaped NUL without an error.
bool containsNUL(std::string_view line) {
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\0' || line.substr(i, 6) == "\\u0000") {
            return true;
        }
        if (line[i] == '\\') {
            ++i;
        }
    }
    return false;
}

util::UniqueJSON parseObject(std::string_view line) {
    const char* end = nullptr;
    util::UniqueJSON object(cJSON_ParseWithLengthOpts(line.data(), line.size(), &end, 0));
    const bool whole = object && cJSON_IsObject(object.get()) &&
                       line.find_first_not_of(" \t\r", static_cast<size_t>(end - line.data())) ==
                           std::string_view::npos;
    if (!whole) {
        throw NotAnObject();
    }
    if (containsNUL(line)) {
        throw std::runtime_error("a NUL in a text; such payloads are written as \"base64\"");
    }
    return object;
}

double readNumber(const cJSON* object, const char* key, double low, double high) {
    const cJSON* item = util::jsonMember(object, key);
    if (!cJSON_IsNumber(item) || !(item->valuedouble >= low && item->valuedouble <= high)) {
        throw std::runtime_error("\"" + std::string(key) + "\" is missing or out of range");
    }
    return item->valuedouble;
}

int32_t readSender(const cJSON* object) {
    using Limits = std::numeric_limits<int32_t>;
    const double number = readNumber(object, "from", Limits::min(), Limits::max());
    if (number != std::floor(number)) {
        throw std::runtime_error("\"from\" is not a connection ID");
    }
    return static_cast<int32_t>(number);
}

std::string readPayload(const cJSON* object) {
    const char* text = util::jsonText(util::jsonMember(object, "payload"));
    const char* base64 = util::jsonText(util::jsonMember(object, "base64"));
    if ((text == nullptr) == (base64 == nullptr)) {
        throw std::runtime_error("needs one text, \"payload\" or \"base64\"");
    }
    const std::optional<std::string> bytes = text ? std::string(text) : fromBase64(base64);
    if (!bytes) {
        throw std::runtime_error("\"base64\" is invalid");
    }
    if (bytes->size() > kMaxPayloadBytes) {
        throw std::runtime_error("the payload is larger than the bus takes");
    }
    return *bytes;
}

}  // namespace

std::string secondsText(microseconds time) {
    constexpr int64_t perSecond = 1'000'000;
    std::array<char, 48> text{};
    std::snprintf(text.data(), text.size(), "%" PRId64 ".%06" PRId64, time.count() / perSecond,
                  time.count() % perSecond);
    return text.data();
}

std::string formatLine(const Header& header) {
    return "{\"recording\":" + std::to_string(kFormat) + ",\"start\":\"" +
           formatWallClock(header.start) + "\",\"by\":" + quoted(header.by) + "}";
}

std::string formatLine(const Entry& entry) {
    const std::string payload = isLegible(entry.payload)
                                    ? "\"payload\":" + quoted(entry.payload)
                                    : "\"base64\":\"" + toBase64(entry.payload) + "\"";
    return "{\"at\":" + secondsText(entry.at) + ",\"from\":" + std::to_string(entry.from) + "," +
           payload + "}";
}

Header parseHeaderLine(std::string_view line) {
    const util::UniqueJSON object = parseObject(line);
    const cJSON* format = util::jsonMember(object.get(), "recording");
    if (!cJSON_IsNumber(format)) {
        throw std::runtime_error("\"recording\" is missing");
    }
    if (format->valuedouble != kFormat) {
        throw std::runtime_error("unknown format; this program reads format " +
                                 std::to_string(kFormat));
    }
    const char* start = util::jsonText(util::jsonMember(object.get(), "start"));
    const char* by = util::jsonText(util::jsonMember(object.get(), "by"));
    return {parseWallClock(start ? start : ""), by ? by : ""};
}

Entry parseEntryLine(std::string_view line) {
    const util::UniqueJSON object = parseObject(line);
    const double seconds = readNumber(object.get(), "at", 0, kMaxSeconds);
    return {microseconds(std::llround(seconds * 1e6)), readSender(object.get()),
            readPayload(object.get())};
}

}  // namespace recording
