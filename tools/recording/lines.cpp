#include "recording/lines.h"

#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <limits>

#include "recording/payload_text.h"
#include "util/json.h"

namespace recording {

namespace {

using std::chrono::microseconds;
using std::chrono::system_clock;

constexpr int kFormat = 1;

// 31 years. Up to here a double tells microseconds apart.
constexpr double kMostSeconds = 1e9;

// UTC, as RFC 3339 has it.
std::string wallClockText(system_clock::time_point time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(std::chrono::floor<microseconds>(time - day));
    std::array<char, 96> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02u-%02uT%02d:%02d:%02d.%06dZ",
                  static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                  static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                  static_cast<int>(clock.minutes().count()),
                  static_cast<int>(clock.seconds().count()),
                  static_cast<int>(clock.subseconds().count()));
    return text.data();
}

system_clock::time_point wallClock(const std::string& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int micro = 0;
    std::sscanf(text.c_str(), "%4d-%2u-%2uT%2d:%2d:%2d.%6dZ", &year, &month, &day, &hour, &minute,
                &second, &micro);
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    // The clock counts nanoseconds, and ends in 2262.
    if (date.ok() && year >= 1970 && year < 2262) {
        const system_clock::time_point time =
            std::chrono::sys_days(date) + std::chrono::hours(hour) + std::chrono::minutes(minute) +
            std::chrono::seconds(second) + microseconds(micro);
        // Only what is written the same way was read the right way.
        if (wallClockText(time) == text) {
            return time;
        }
    }
    throw std::runtime_error("\"start\" is not a time such as 2026-11-21T15:30:00.000000Z");
}

// An escaped NUL would end the text early without anybody noticing.
bool holdsNul(std::string_view line) {
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

util::UniqueJSON objectOf(std::string_view line) {
    const char* end = nullptr;
    util::UniqueJSON object(cJSON_ParseWithLengthOpts(line.data(), line.size(), &end, 0));
    const bool whole = object && cJSON_IsObject(object.get()) &&
                       line.find_first_not_of(" \t\r", static_cast<size_t>(end - line.data())) ==
                           std::string_view::npos;
    if (!whole) {
        throw NoObject();
    }
    if (holdsNul(line)) {
        throw std::runtime_error("a NUL in a text; such bytes are written as \"base64\"");
    }
    return object;
}

double numberOf(const cJSON* object, const char* key, double low, double high) {
    const cJSON* item = util::jsonMember(object, key);
    if (!cJSON_IsNumber(item) || !(item->valuedouble >= low && item->valuedouble <= high)) {
        throw std::runtime_error("\"" + std::string(key) + "\" is missing or out of range");
    }
    return item->valuedouble;
}

int32_t senderOf(const cJSON* object) {
    using Limits = std::numeric_limits<int32_t>;
    const double number = numberOf(object, "from", Limits::min(), Limits::max());
    if (number != std::floor(number)) {
        throw std::runtime_error("\"from\" is no connection id");
    }
    return static_cast<int32_t>(number);
}

std::string payloadOf(const cJSON* object) {
    const char* text = util::jsonText(util::jsonMember(object, "payload"));
    const char* base64 = util::jsonText(util::jsonMember(object, "base64"));
    if ((text == nullptr) == (base64 == nullptr)) {
        throw std::runtime_error("not one text, \"payload\" or \"base64\"");
    }
    const std::optional<std::string> bytes = text ? std::string(text) : fromBase64(base64);
    if (!bytes) {
        throw std::runtime_error("\"base64\" is not that");
    }
    if (bytes->size() > kMostPayloadBytes) {
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

std::string lineOf(const Header& header) {
    return "{\"recording\":" + std::to_string(kFormat) + ",\"start\":\"" +
           wallClockText(header.start) + "\",\"by\":" + quoted(header.by) + "}";
}

std::string lineOf(const Entry& entry) {
    const std::string payload = isLegible(entry.payload)
                                    ? "\"payload\":" + quoted(entry.payload)
                                    : "\"base64\":\"" + toBase64(entry.payload) + "\"";
    return "{\"at\":" + secondsText(entry.at) + ",\"from\":" + std::to_string(entry.from) + "," +
           payload + "}";
}

Header readHeaderLine(std::string_view line) {
    const util::UniqueJSON object = objectOf(line);
    const cJSON* format = util::jsonMember(object.get(), "recording");
    if (!cJSON_IsNumber(format)) {
        throw std::runtime_error("\"recording\" is missing");
    }
    if (format->valuedouble != kFormat) {
        throw std::runtime_error("a recording of another format; known is " +
                                 std::to_string(kFormat));
    }
    const char* start = util::jsonText(util::jsonMember(object.get(), "start"));
    const char* by = util::jsonText(util::jsonMember(object.get(), "by"));
    return {wallClock(start ? start : ""), by ? by : ""};
}

Entry readEntryLine(std::string_view line) {
    const util::UniqueJSON object = objectOf(line);
    const double seconds = numberOf(object.get(), "at", 0, kMostSeconds);
    return {microseconds(std::llround(seconds * 1e6)), senderOf(object.get()),
            payloadOf(object.get())};
}

}  // namespace recording
