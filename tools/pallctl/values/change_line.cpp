#include "pallctl/values/change_line.h"

#include "cli/escape.h"
#include "cli/table.h"
#include "cli/time_text.h"

namespace pallctl {

namespace {

using Moment = std::chrono::system_clock::time_point;

std::string formatJSON(const client::Parameter& parameter, Moment moment) {
    const util::UniqueJSON form = toJSON(parameter);
    const util::UniqueJSON change = util::jsonObject();
    util::addMember(change.get(), "time", util::jsonString(cli::isoTime(moment)));
    for (const char* key : {"name", "value", "text"}) {
        util::addMember(change.get(), key, util::copyJSON(util::jsonMember(form.get(), key)));
    }
    return jsonLine(change.get()) + '\n';
}

std::string formatShell(const client::Parameter& parameter, Moment moment, const Style& style) {
    return "time=" + cli::shellQuoted(cli::isoTime(moment)) +
           " name=" + cli::shellQuoted(cli::escapeForTerminal(parameter.descriptor.name)) +
           " value=" + cli::shellQuoted(formatExact(parameter, style)) + '\n';
}

std::string formatPlain(const client::Parameter& parameter, Moment moment, const Style& style) {
    const std::string time = cli::clockTime(moment);
    const std::string value = formatOneLine(parameter, style);
    return (style.colour ? cli::painted(time, cli::Paint::faint) : time) + '\t' +
           cli::escapeForTerminal(parameter.descriptor.name) + '\t' +
           (style.colour ? cli::painted(value, cli::Paint::bold) : value) + '\n';
}

}  // namespace

std::string formatChange(const client::Parameter& parameter, Moment moment, const Style& style) {
    switch (style.format) {
        case Format::json:
            return formatJSON(parameter, moment);
        case Format::keyvalue:
            return formatShell(parameter, moment, style);
        case Format::table:
            break;
    }
    return formatPlain(parameter, moment, style);
}

}  // namespace pallctl
