#pragma once

#include <string>
#include <vector>

#include "client/descriptor.h"

// How parameters are printed, the same for every verb: for people, for programs, for shells. Pure
// functions, but for takesColours().

namespace pallctl {

enum class Format { table, json, keyvalue };

struct Style {
    Format format = Format::table;
    bool raw = false;     // values as they travel, in JSON, instead of as people write them
    bool colour = false;  // for a table only
};

// Whether a terminal reads this descriptor, and nobody asked for no colours (NO_COLOR, TERM=dumb).
bool takesColours(int descriptor);

// The value alone on one line, without control characters; "-" for none.
std::string shownValue(const Parameter& parameter, const Style& style);

// { "name", "label", "type", "readOnly", "value", "text" }: the value as it travels and as people
// write it, both null when the device holds none.
UniqueJSON jsonForm(const Parameter& parameter);

// The item on one line, valid JSON whatever bytes its texts hold; without a line end.
std::string jsonLine(const cJSON* item);

// One object with a member for each of these, by name, in that form; a name that comes again is
// left out. Ends with a line end.
std::string objectOf(const std::vector<const Parameter*>& parameters,
                     UniqueJSON (*form)(const Parameter& parameter));

// As shown, but for a program: texts exactly as they are, and nothing for no value.
std::string exactValue(const Parameter& parameter, const Style& style);

// system_ipAddress='10.0.0.5', which a POSIX shell can evaluate: the texts exactly as they are,
// line ends included, and nothing between the quotes for no value. Without a line end of its own.
std::string keyValueForm(const Parameter& parameter, const Style& style);
std::string keyValueForm(const std::string& name, const std::string& value);

// A line each with name and value, for people.
std::string namedValues(const std::vector<const Parameter*>& parameters, const Style& style);

// All of these, in their order: a table of name, value, type and read-only; one object with a
// member per name; a line of NAME='VALUE' each. Ends with a line end unless it is empty.
std::string listing(const std::vector<const Parameter*>& parameters, const Style& style);

}  // namespace pallctl
