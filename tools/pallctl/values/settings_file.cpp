#include "pallctl/values/settings_file.h"

#include "client/format_value.h"
#include "pallctl/values/output.h"
#include "util/text.h"

namespace pallctl {

namespace {

std::string trim(std::string_view text) {
    const size_t begin = text.find_first_not_of(util::kWhiteSpace);
    if (begin == std::string_view::npos) {
        return "";
    }
    return std::string(text.substr(begin, text.find_last_not_of(util::kWhiteSpace) + 1 - begin));
}

bool isJSON(const client::Descriptor& descriptor, const std::string& value) {
    return value.starts_with('"') ||
           (descriptor.type == client::kStructureType && value.starts_with('{'));
}

}  // namespace

std::vector<Setting> parseSettings(std::string_view text, cli::script::Errors& errors) {
    std::vector<Setting> settings;
    for (int number = 1; !text.empty(); ++number) {
        const std::string line = trim(util::takeLine(text));
        const size_t equals = line.find('=');
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        if (equals == std::string::npos || equals == 0) {
            errors.add(number, "needs the form NAME=VALUE");
        } else {
            settings.push_back(
                {number, trim(line.substr(0, equals)), trim(line.substr(equals + 1))});
        }
    }
    return settings;
}

client::ParsedValue parseSetting(const client::Parameter& parameter, const std::string& value) {
    return isJSON(parameter.descriptor, value) ? client::parseRawValue(parameter.descriptor, value)
                                               : client::parseValue(parameter, value);
}

// Only an integer is always the same again as people see it.
std::string formatSetting(const std::string& name, const client::Parameter& parameter) {
    const bool isInteger =
        cJSON_IsNumber(parameter.value.get()) && parameter.descriptor.type != "FLOAT";
    return name + "=" +
           (isInteger ? client::formatValue(parameter.descriptor, parameter.value.get())
                      : jsonLine(parameter.value.get()));
}

}  // namespace pallctl
