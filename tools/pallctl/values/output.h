#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "cli/time_text.h"
#include "client/descriptor.h"
#include "client/exit_status.h"

// How parameters are printed, the same for every command: for people, for programs, for shells.
// Pure functions, except supportsColours().

namespace pallctl {

// The exit statuses of pallctl are those of the client's calls.
using client::ExitStatus;
using enum client::ExitStatus;

enum class Format { table, json, keyvalue };

struct Style {
    Format format = Format::table;
    bool raw = false;     // raw wire values, in JSON
    bool colour = false;  // for a table only
    size_t columns = 0;   // of the terminal: texts for people are cut to it; 0: whole
    cli::TimeForm time = cli::TimeForm::clock;  // in lines for people
};

// Whether the descriptor is a terminal, and colours are not disabled (NO_COLOR, TERM=dumb).
bool supportsColours(int descriptor);

// The value alone on one line, without control characters; "-" for none.
std::string formatOneLine(const client::Parameter& parameter, const Style& style);

// { "name", "label", "type", "readOnly", "value", "text" }: the raw value and its text, both null
// when the device has no value.
util::UniqueJSON toJSON(const client::Parameter& parameter);

// The item on one line without a line end; valid JSON for any texts in it.
std::string jsonLine(const cJSON* item);

// One object with a member for each parameter, by name; a repeated name is ignored. Ends with a
// line end.
std::string formatJSONObject(const std::vector<const client::Parameter*>& parameters,
                             util::UniqueJSON (*form)(const client::Parameter& parameter));

// As formatOneLine() for programs: texts unchanged, and empty without a value.
std::string formatExact(const client::Parameter& parameter, const Style& style);

// system_ipAddress='10.0.0.5', which a POSIX shell can evaluate: texts unchanged, including line
// ends, and empty without a value. Without a line end of its own.
std::string formatAssignment(const client::Parameter& parameter, const Style& style);
std::string formatAssignment(const std::string& name, const std::string& value);

// One line with name and value for each parameter, for people.
std::string formatNameValueLines(const std::vector<const client::Parameter*>& parameters,
                                 const Style& style);

// All of these, in their order: a table of name, value, type and read-only, which has short names
// and fewer columns on a narrow terminal; one object with a
// member per name; a line of NAME='VALUE' each. Ends with a line end unless it is empty.
std::string formatParameters(const std::vector<const client::Parameter*>& parameters,
                             const Style& style);

// One change of a parameter as a line: time of day, name and value separated by tabs, with the
// value cut to the style's columns; { "time", "name", "value", "text" }; or time='…' name='…'
// value='…' for a shell.
std::string formatChange(const client::Parameter& parameter,
                         std::chrono::system_clock::time_point moment, const Style& style);

}  // namespace pallctl
