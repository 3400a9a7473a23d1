// Whatever a device answers: what is printed of it is harmless where it goes, and what a person
// reads can be typed back.

#include <algorithm>

#include "bus/messages.h"
#include "client/checks.h"
#include "client/description.h"
#include "client/device_object.h"
#include "client/human_form.h"
#include "client/output.h"
#include "client/safe_text.h"
#include "client/wire_form.h"
#include "fuzz_target.h"

namespace {

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
    requireOneLine(shownValue(parameter, kPeople));
    requireOneLine(shownValue(parameter, kWire));
    requireOneWord(keyValueForm(parameter, kKeyValue));
    const std::string line = jsonLine(jsonForm(parameter).get());
    requireOneLine(line);
    require(validUTF8(line) == line);
    require(parseJSON(line.data(), line.size()) != nullptr);
}

bool isAsDescribed(const Parameter& parameter) {
    const Descriptor& descriptor = parameter.descriptor;
    return hasValue(parameter) && !descriptor.type.empty() && descriptor.type != kStructureType &&
           objection(descriptor, parameter.value.get()).empty();
}

void requireTheWayBack(const Parameter& parameter) {
    const Descriptor& descriptor = parameter.descriptor;
    const std::string shown = humanForm(descriptor, parameter.value.get());
    const WireForm typed = wireForm(parameter, shown);
    require((typed.value == nullptr) != typed.problem.empty());
    if (typed.value && isAsDescribed(parameter)) {
        require(objection(descriptor, typed.value.get()).empty());
        require(humanForm(descriptor, typed.value.get()) == shown);
        require(readsAs(parameter, typed.value.get()));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    Mirror mirror;
    DeviceObject("system").takeDescriptors(answer(textOf(data, size)), mirror);
    for (const Parameter* parameter : mirror.all()) {
        requireHarmless(*parameter);
        requireTheWayBack(*parameter);
    }
    description(mirror.all(), kPeople);
    const std::string object = listing(mirror.all(), kJSON);
    require(parseJSON(object.data(), object.size()) != nullptr);
    return 0;
}
