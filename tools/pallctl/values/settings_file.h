#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/script_errors.h"
#include "client/parse_value.h"

// A file of settings: lines NAME=VALUE with blanks around both allowed, empty lines, and comments
// from "#" at the beginning of a line. A value is as people type it, or in JSON: a text in quotes,
// a structure. Pure functions.

namespace pallctl {

struct Setting {
    int line;  // in the file, from 1
    std::string name;
    std::string value;
};

// The settings in the order of the file; adds an error for each line of another form.
std::vector<Setting> parseSettings(std::string_view text, cli::script::Errors& errors);

// The value of a setting for this parameter, or the error.
client::ParsedValue parseSetting(const client::Parameter& parameter, const std::string& value);

// The line of a parameter that has a value, without a line end. parseSetting() returns the same
// value again.
std::string formatSetting(const std::string& name, const client::Parameter& parameter);

}  // namespace pallctl
