// Whatever a device answers: what is printed of it is harmless where it goes, and what a person
// reads can be typed back.

#include <algorithm>

#include "bus/messages.h"
#include "cli/escape.h"
#include "client/device_path.h"
#include "client/format_value.h"
#include "client/parse_value.h"
#include "client/value_validation.h"
#include "fuzz_target.h"
#include "pallctl/values/description.h"
#include "pallctl/values/output.h"

namespace {

using namespace client;
using namespace pallctl;

constexpr const char* kHeader = "[\"RSP\", \"system\", 8, 1000042, 0]\n";
constexpr Style kPeople;
constexpr Style kWire{Format::table, true, false};
constexpr Style kJSON{Format::json, false, false};
constexpr Style kKeyValue{Format::keyvalue, false, false};

TarnInternalMessage answer(const std::string& data) {
    const std::string text = kHeader + data;
    auto bytes = std::make_unique<std::vector<char>>(text.begin(), text.end());
    bytes->push_back('\0');
    return TarnInternalMessage(std::move(bytes));
}

void requireOneLine(const std::string& text) {
    require(std::none_of(text.begin(), text.end(), [](unsigned char byte) { return byte < ' '; }));
}

bool isVariable(const std::string& name) {
    return name.starts_with("system_") && std::all_of(name.begin(), name.end(), [](char each) {
               return each == '_' || (each >= '0' && each <= '9') || (each >= 'A' && each <= 'Z') ||
                      (each >= 'a' && each <= 'z');
           });
}

// Nothing but the variable, "=", and what stands between quotes or escapes one.
void requireOneWord(const std::string& line) {
    const size_t equals = line.find('=');
    require(isVariable(line.substr(0, equals)));
    bool quoted = false;
    for (size_t at = equals + 1; at < line.size(); ++at) {
        if (line[at] == '\'') {
            quoted = !quoted;
        } else if (!quoted) {
            require(line.compare(at, 2, "\\'") == 0);
            ++at;
        }
    }
    require(!quoted);
}

void requireHarmless(const Parameter& parameter) {
    requireOneLine(formatOneLine(parameter, kPeople));
    requireOneLine(formatOneLine(parameter, kWire));
    requireOneWord(formatAssignment(parameter, kKeyValue));
    const std::string line = jsonLine(toJSON(parameter).get());
    requireOneLine(line);
    require(cli::validUTF8(line) == line);
    require(util::parseJSON(line.data(), line.size()) != nullptr);
}

bool isAsDescribed(const Parameter& parameter) {
    const Descriptor& descriptor = parameter.descriptor;
    return hasValue(parameter) && !descriptor.type.empty() && descriptor.type != kStructureType &&
           validateValue(descriptor, parameter.value.get()).empty();
}

void requireTheWayBack(const Parameter& parameter) {
    const Descriptor& descriptor = parameter.descriptor;
    const std::string shown = formatValue(descriptor, parameter.value.get());
    const ParsedValue typed = parseValue(parameter, shown);
    require((typed.value == nullptr) != typed.problem.empty());
    if (typed.value && isAsDescribed(parameter)) {
        require(validateValue(descriptor, typed.value.get()).empty());
        require(formatValue(descriptor, typed.value.get()) == shown);
        require(hasValueAsShown(parameter, typed.value.get()));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    ParameterCache cache;
    DevicePath("system").handleMessage(answer(textOf(data, size)), cache);
    for (const Parameter* parameter : cache.all()) {
        requireHarmless(*parameter);
        requireTheWayBack(*parameter);
    }
    describeParameters(cache.all(), kPeople);
    const std::string object = formatParameters(cache.all(), kJSON);
    require(util::parseJSON(object.data(), object.size()) != nullptr);
    return 0;
}
