// A text is parsed into its parts, the parts are related to the clock or the calendar, the
// milliseconds are added with their carry, and a result that is not later than `now` is dropped.
// Steps that can overflow a time give no time.

#include "bus/scheduled_time.h"

#include <array>
#include <cstdio>
#include <optional>

#include "util/parse_integer.h"

namespace lumo {

namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kNanosecondsPerMillisecond = 1'000'000;

enum class TimeForm { absolute, timeOfDay, relative };

// The parts of a text, before they are related to the clock.
struct TimeFields {
    TimeForm form;
    tm parts;
    const char* rest;  // behind the seconds
};

std::optional<TimeFields> parseAs(TimeForm form, const char* text) {
    TimeFields fields = {form, {}, nullptr};
    fields.rest = strptime(text, form == TimeForm::absolute ? "%FT%T" : "%T", &fields.parts);
    // Every form begins with digits, so a parse that succeeds has consumed some.
    return fields.rest ? std::optional(fields) : std::nullopt;
}

std::optional<TimeFields> parseFields(const char* text) {
    if (*text != '+') {
        const std::optional<TimeFields> date = parseAs(TimeForm::absolute, text);
        return date ? date : parseAs(TimeForm::timeOfDay, text);
    }
    return parseAs(TimeForm::relative, text + 1);
}

// Nothing when a dot is followed by no whole integer.
std::optional<int32_t> parseMilliseconds(const char* rest) {
    int32_t milliseconds = 0;
    const bool valid = *rest != '.' || util::parseWholeInteger(rest + 1, milliseconds);
    return valid ? std::optional(milliseconds) : std::nullopt;
}

// Nothing for a moment that the machine cannot count; mktime says so with the last second before
// the epoch, which is long past anyway.
std::optional<time_t> fromLocalTime(tm parts) {
    const time_t seconds = mktime(&parts);
    return seconds == -1 ? std::nullopt : std::optional(seconds);
}

// The local time of that day, which in summer is summer time.
std::optional<time_t> onLocalCalendar(tm parts) {
    constexpr int kUnknown = -1;
    parts.tm_isdst = kUnknown;
    return fromLocalTime(parts);
}

// Today's date is the one in UTC although the time of day is local: senders count on it.
std::optional<time_t> atTimeOfDay(time_t now, const tm& timeOfDay) {
    tm parts = {};
    if (!gmtime_r(&now, &parts)) {
        return std::nullopt;
    }
    parts.tm_hour = timeOfDay.tm_hour;
    parts.tm_min = timeOfDay.tm_min;
    parts.tm_sec = timeOfDay.tm_sec;
    return fromLocalTime(parts);
}

std::optional<time_t> later(time_t seconds, int64_t delay) {
    time_t sum = 0;
    return __builtin_add_overflow(seconds, delay, &sum) ? std::nullopt : std::optional(sum);
}

std::optional<ScheduledTime> targetTime(const TimeFields& fields, const timespec& now) {
    std::optional<time_t> seconds;
    int32_t nanoseconds = 0;
    switch (fields.form) {
        case TimeForm::absolute:
            seconds = onLocalCalendar(fields.parts);
            break;
        case TimeForm::timeOfDay:
            seconds = atTimeOfDay(now.tv_sec, fields.parts);
            break;
        case TimeForm::relative:
            seconds = later(now.tv_sec, fields.parts.tm_sec + 60 * fields.parts.tm_min +
                                            3600 * fields.parts.tm_hour);
            nanoseconds = static_cast<int32_t>(now.tv_nsec);
            break;
    }
    return seconds ? std::optional(ScheduledTime{*seconds, nanoseconds}) : std::nullopt;
}

// Carries whole seconds, however many, in either direction.
std::optional<ScheduledTime> addMilliseconds(const ScheduledTime& time, int32_t milliseconds) {
    int64_t nanoseconds = time.nanoseconds + kNanosecondsPerMillisecond * milliseconds;
    int64_t carry = nanoseconds / kNanosecondsPerSecond;
    nanoseconds %= kNanosecondsPerSecond;
    if (nanoseconds < 0) {
        nanoseconds += kNanosecondsPerSecond;
        --carry;
    }
    const std::optional<time_t> seconds = later(time.seconds, carry);
    return seconds ? std::optional(ScheduledTime{*seconds, static_cast<int32_t>(nanoseconds)})
                   : std::nullopt;
}

}  // namespace

int compareTimes(const ScheduledTime& left, const ScheduledTime& right) {
    if (left.seconds != right.seconds) {
        return left.seconds < right.seconds ? -1 : 1;
    }
    if (left.nanoseconds != right.nanoseconds) {
        return left.nanoseconds < right.nanoseconds ? -1 : 1;
    }
    return 0;
}

DecodedTime decodeScheduledTime(const char* text, const timespec& now) {
    DecodedTime decoded;
    const std::optional<TimeFields> fields = parseFields(text);
    if (!fields) {
        decoded.fault = *text == '+' ? TimeFault::delay : TimeFault::none;
        return decoded;
    }
    const std::optional<int32_t> milliseconds = parseMilliseconds(fields->rest);
    if (!milliseconds) {
        decoded.fault = TimeFault::milliseconds;
    }
    const std::optional<ScheduledTime> start = targetTime(*fields, now);
    const std::optional<ScheduledTime> target =
        start ? addMilliseconds(*start, milliseconds.value_or(0)) : std::nullopt;
    const ScheduledTime present = {now.tv_sec, static_cast<int32_t>(now.tv_nsec)};
    if (target && compareTimes(*target, present) > 0) {
        decoded.time = *target;
    }
    return decoded;
}

timespec currentTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

std::string formatScheduledTime(const ScheduledTime& time) {
    tm parts = {};
    if (!time.isScheduled() || !localtime_r(&time.seconds, &parts)) {
        return {};
    }
    std::array<char, 64> date = {};
    strftime(date.data(), date.size(), "%FT%T", &parts);
    std::array<char, 80> text = {};
    std::snprintf(text.data(), text.size(), "%s.%03ld", date.data(),
                  static_cast<long>(time.nanoseconds / kNanosecondsPerMillisecond));
    return text.data();
}

}  // namespace lumo
