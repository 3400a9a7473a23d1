#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"
#include "client/exit_status.h"

// How parameters are printed, the same for every verb: for people, for programs, for shells. Pure
// functions, but for supportsColours().

namespace pallctl {

// The exit statuses of pallctl are those of the client's calls.
using client::ExitStatus;
using enum client::ExitStatus;

enum class Format { table, json, keyvalue };

struct Style {
    Format format = Format::table;
    bool raw = false;     // values as they travel, in JSON, instead of as people write them
    bool colour = false;  // for a table only
};

// Whether a terminal reads this descriptor, and nobody asked for no colours (NO_COLOR, TERM=dumb).
bool supportsColours(int descriptor);

// The value alone on one line, without control characters; "-" for none.
std::string formatOneLine(const client::Parameter& parameter, const Style& style);

// { "name", "label", "type", "readOnly", "value", "text" }: the value as it travels and as people
// write it, both null when the device holds none.
util::UniqueJSON toJSON(const client::Parameter& parameter);

// The item on one line, valid JSON whatever bytes its texts hold; without a line end.
std::string jsonLine(const cJSON* item);

// One object with a member for each of these, by name, in that form; a name that comes again is
// left out. Ends with a line end.
std::string formatJSONObject(const std::vector<const client::Parameter*>& parameters,
                             util::UniqueJSON (*form)(const client::Parameter& parameter));

// As shown, but for a program: texts exactly as they are, and nothing for no value.
std::string formatExact(const client::Parameter& parameter, const Style& style);

// system_ipAddress='10.0.0.5', which a POSIX shell can evaluate: the texts exactly as they are,
// line ends included, and nothing between the quotes for no value. Without a line end of its own.
std::string formatAssignment(const client::Parameter& parameter, const Style& style);
std::string formatAssignment(const std::string& name, const std::string& value);

// A line each with name and value, for people.
std::string formatNameValueLines(const std::vector<const client::Parameter*>& parameters,
                                 const Style& style);

// All of these, in their order: a table of name, value, type and read-only; one object with a
// member per name; a line of NAME='VALUE' each. Ends with a line end unless it is empty.
std::string formatParameters(const std::vector<const client::Parameter*>& parameters,
                             const Style& style);

}  // namespace pallctl
