// A parameter is printed in one of three formats: JSON from toJSON(), lines for a shell from
// formatExact(), and text for people from formatOneLine().

#include "pallctl/values/output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "cli/escape.h"
#include "cli/table.h"
#include "cli/time_text.h"
#include "client/format_value.h"

namespace pallctl {

namespace {

using Moment = std::chrono::system_clock::time_point;

// An address, a version and most texts are shorter.
constexpr size_t kReadableValue = 24;
constexpr size_t kMinChangeColumns = 8;  // of a value behind time and name
constexpr size_t kTab = 8;

std::string readEnvironment(const char* name) {
    const char* const value = std::getenv(name);
    return value ? value : "";
}

// The name without the device, as users may type it.
std::string formatLeaf(const std::string& name) {
    return cli::escapeForTerminal(name.substr(name.rfind('.') + 1));
}

cli::Paint selectPaint(const client::Parameter& parameter) {
    if (!client::hasValue(parameter)) {
        return cli::Paint::faint;
    }
    return parameter.descriptor.readOnly ? cli::Paint::none : cli::Paint::bold;
}

std::string formatTable(const std::vector<const client::Parameter*>& parameters,
                        const Style& style) {
    cli::Table table({"NAME", {"VALUE", kReadableValue}, {"TYPE", 0, 2}, {"READ-ONLY", 0, 1}});
    for (const client::Parameter* parameter : parameters) {
        const client::Descriptor& descriptor = parameter->descriptor;
        table.add({{cli::escapeForTerminal(descriptor.name), formatLeaf(descriptor.name)},
                   {formatOneLine(*parameter, style), selectPaint(*parameter)},
                   cli::escapeForTerminal(descriptor.type),
                   descriptor.readOnly ? "yes" : "no"});
    }
    return table.text(style.colour, style.columns);
}

std::string formatChangeForJSON(const client::Parameter& parameter, Moment moment) {
    const util::UniqueJSON form = toJSON(parameter);
    const util::UniqueJSON change = util::jsonObject();
    util::addMember(change.get(), "time", util::jsonString(cli::isoTime(moment)));
    for (const char* key : {"name", "value", "text"}) {
        util::addMember(change.get(), key, util::copyJSON(util::jsonMember(form.get(), key)));
    }
    return jsonLine(change.get()) + '\n';
}

std::string formatChangeForShell(const client::Parameter& parameter, Moment moment,
                                 const Style& style) {
    return "time=" + cli::shellQuoted(cli::isoTime(moment)) +
           " name=" + cli::shellQuoted(cli::escapeForTerminal(parameter.descriptor.name)) +
           " value=" + cli::shellQuoted(formatExact(parameter, style)) + '\n';
}

// The column after a tab behind that many columns.
size_t nextTabStop(size_t columns) {
    return (columns / kTab + 1) * kTab;
}

// What a terminal leaves for the value.
size_t countColumnsBehind(const std::string& time, const std::string& name, const Style& style) {
    const size_t used = nextTabStop(nextTabStop(time.size()) + cli::textWidth(name));
    return style.columns - std::min(style.columns, used);
}

// In the form of the style. Without room for name and value beside that one, the time of day.
std::string formatChangeTime(Moment moment, const Style& style) {
    const std::string time = cli::formatTime(moment, style.time);
    const bool fits = style.columns == 0 || countColumnsBehind(time, "", style) >= kReadableValue;
    return fits ? time : cli::clockTime(moment);
}

// Leaves that many columns for the value behind the tab.
std::string shortenName(const std::string& time, const std::string& name, size_t value,
                        const Style& style) {
    const size_t begin = nextTabStop(time.size());
    const size_t end = (style.columns - std::min(style.columns, value)) / kTab * kTab;
    return cli::shorten(name, std::max(end, begin + kTab) - begin - 1);
}

std::string formatChangeForPeople(const client::Parameter& parameter, Moment moment,
                                  const Style& style) {
    const std::string time = formatChangeTime(moment, style);
    std::string name = cli::escapeForTerminal(parameter.descriptor.name);
    std::string value = formatOneLine(parameter, style);
    if (style.columns > 0) {
        const size_t wanted = std::min(cli::textWidth(value), kReadableValue);
        if (countColumnsBehind(time, name, style) < wanted) {
            name = formatLeaf(parameter.descriptor.name);
        }
        name = shortenName(time, name, std::min(wanted, kMinChangeColumns), style);
        const size_t room = countColumnsBehind(time, name, style);
        value = cli::shorten(value, std::max(room, kMinChangeColumns));
    }
    return (style.colour ? cli::painted(time, cli::Paint::faint) : time) + '\t' + name + '\t' +
           (style.colour ? cli::painted(value, cli::Paint::bold) : value) + '\n';
}

}  // namespace

bool supportsColours(int descriptor) {
    return ::isatty(descriptor) == 1 && readEnvironment("NO_COLOR").empty() &&
           readEnvironment("TERM") != "dumb";
}

std::string formatOneLine(const client::Parameter& parameter, const Style& style) {
    return style.raw && client::hasValue(parameter)
               ? cli::escapeForTerminal(util::renderJSON(parameter.value.get(), false))
               : client::formatValue(parameter.descriptor, parameter.value.get());
}

std::string formatExact(const client::Parameter& parameter, const Style& style) {
    if (!client::hasValue(parameter)) {
        return "";
    }
    if (style.raw) {
        return util::renderJSON(parameter.value.get(), false);
    }
    const char* const text = util::jsonText(parameter.value.get());
    return text ? text : client::formatValue(parameter.descriptor, parameter.value.get());
}

util::UniqueJSON toJSON(const client::Parameter& parameter) {
    const client::Descriptor& descriptor = parameter.descriptor;
    util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), "name", util::jsonString(descriptor.name));
    util::addMember(object.get(), "label", util::jsonString(descriptor.label));
    util::addMember(object.get(), "type", util::jsonString(descriptor.type));
    util::addMember(object.get(), "readOnly", util::jsonBool(descriptor.readOnly));
    const bool known = client::hasValue(parameter);
    util::addMember(object.get(), "value",
                    known ? util::copyJSON(parameter.value.get()) : util::jsonNull());
    util::addMember(object.get(), "text",
                    known ? util::jsonString(formatExact(parameter, {})) : util::jsonNull());
    return object;
}

std::string jsonLine(const cJSON* item) {
    return cli::escapeJSON(cli::validUTF8(util::renderJSON(item, false)));
}

std::string formatJSONObject(const std::vector<const client::Parameter*>& parameters,
                             util::UniqueJSON (*form)(const client::Parameter& parameter)) {
    const util::UniqueJSON object = util::jsonObject();
    for (const client::Parameter* parameter : parameters) {
        const char* const name = parameter->descriptor.name.c_str();
        if (!util::jsonMember(object.get(), name)) {
            util::addMember(object.get(), name, form(*parameter));
        }
    }
    return jsonLine(object.get()) + '\n';
}

std::string formatAssignment(const client::Parameter& parameter, const Style& style) {
    return formatAssignment(parameter.descriptor.name, formatExact(parameter, style));
}

std::string formatAssignment(const std::string& name, const std::string& value) {
    return cli::shellName(name) + '=' + cli::shellQuoted(value);
}

std::string formatNameValueLines(const std::vector<const client::Parameter*>& parameters,
                                 const Style& style) {
    cli::Table table({"NAME", {"VALUE", kReadableValue}});
    for (const client::Parameter* parameter : parameters) {
        table.add(
            {cli::escapeForTerminal(parameter->descriptor.name), formatOneLine(*parameter, style)});
    }
    return table.text(style.colour, style.columns);
}

std::string formatParameters(const std::vector<const client::Parameter*>& parameters,
                             const Style& style) {
    switch (style.format) {
        case Format::json:
            return formatJSONObject(parameters, toJSON);
        case Format::table:
            return formatTable(parameters, style);
        case Format::keyvalue:
            break;
    }
    std::string lines;
    for (const client::Parameter* parameter : parameters) {
        lines += formatAssignment(*parameter, style) + '\n';
    }
    return lines;
}

std::string formatChange(const client::Parameter& parameter, Moment moment, const Style& style) {
    switch (style.format) {
        case Format::json:
            return formatChangeForJSON(parameter, moment);
        case Format::keyvalue:
            return formatChangeForShell(parameter, moment, style);
        case Format::table:
            break;
    }
    return formatChangeForPeople(parameter, moment, style);
}

}  // namespace pallctl
