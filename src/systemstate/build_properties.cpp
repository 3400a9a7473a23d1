#include "systemstate/build_properties.h"

#include "util/text.h"

namespace systemstate {

namespace {

std::string_view withoutQuotes(std::string_view value) {
    if (value.starts_with('"')) {
        value.remove_prefix(1);
    }
    if (value.ends_with('"')) {
        value.remove_suffix(1);
    }
    return value;
}

}  // namespace

BuildProperties decodeBuildProperties(std::string_view text) {
    BuildProperties properties;
    while (!text.empty()) {
        const std::string_view line = util::takeLine(text);
        const std::size_t equals = line.find('=');
        if (equals != std::string_view::npos) {
            properties.insert_or_assign(std::string(line.substr(0, equals)),
                                        std::string(withoutQuotes(line.substr(equals + 1))));
        }
    }
    return properties;
}

std::string versionText(const BuildProperties& properties) {
    std::string text;
    if (const auto version = properties.find("VERSION"); version != properties.end()) {
        text = version->second;
    }
    if (const auto revision = properties.find("PROJECT_SVN"); revision != properties.end()) {
        text += '(' + revision->second + ')';
    }
    return text.empty() ? "read error" : text;
}

}  // namespace systemstate
