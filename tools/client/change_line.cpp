#include "client/change_line.h"

#include "client/safe_text.h"
#include "client/table.h"
#include "client/time_text.h"

namespace pallctl {

namespace {

using Moment = std::chrono::system_clock::time_point;

std::string jsonChange(const Parameter& parameter, Moment moment) {
    const UniqueJSON form = jsonForm(parameter);
    const UniqueJSON change = jsonObject();
    addMember(change.get(), "time", jsonString(isoTime(moment)));
    for (const char* key : {"name", "value", "text"}) {
        addMember(change.get(), key, copyJSON(jsonMember(form.get(), key)));
    }
    return jsonLine(change.get()) + '\n';
}

std::string shellChange(const Parameter& parameter, Moment moment, const Style& style) {
    return "time=" + shellQuoted(isoTime(moment)) +
           " name=" + shellQuoted(printable(parameter.descriptor.name)) +
           " value=" + shellQuoted(exactValue(parameter, style)) + '\n';
}

std::string plainChange(const Parameter& parameter, Moment moment, const Style& style) {
    const std::string time = clockTime(moment);
    const std::string value = shownValue(parameter, style);
    return (style.colour ? painted(time, Paint::faint) : time) + '\t' +
           printable(parameter.descriptor.name) + '\t' +
           (style.colour ? painted(value, Paint::bold) : value) + '\n';
}

}  // namespace

std::string changeLine(const Parameter& parameter, Moment moment, const Style& style) {
    switch (style.format) {
        case Format::json:
            return jsonChange(parameter, moment);
        case Format::keyvalue:
            return shellChange(parameter, moment, style);
        case Format::table:
            break;
    }
    return plainChange(parameter, moment, style);
}

}  // namespace pallctl
