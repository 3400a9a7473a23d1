#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "util/json.h"

// The descriptor of a parameter, as far as people need it to read and write the value. Plain data,
// any thread.

namespace client {

// A number with a name.
struct Choice {
    int64_t value = 0;
    std::string name;
};

struct Descriptor {
    std::string name;   // full identifier, "system.ipAddress"
    std::string label;  // for people, "IP Address"
    std::string type;   // type word, "INT32"
    bool readOnly = false;
    std::string widget;             // display hint, mostly empty
    int precision = -1;             // decimals to show; negative: not given
    std::string constraint;         // type of the constraint, "INT_CHOICE"; mostly empty
    std::vector<Choice> choices;    // empty: any value
    std::optional<double> minimum;  // of a range; empty: any
    std::optional<double> maximum;
    std::optional<double> step;  // between the values of a range
    int maxLength = -1;          // of a text, in bytes; negative: not given
    int totalLength = -1;        // the same, for layout
};

// The type of structures, and the prefix of member names in their values.
inline constexpr const char* kStructureType = "STRUCT";
inline constexpr const char* kMemberMark = "_d_";

// Whether it is an integer that people write as an address, "10.0.0.5".
bool isAddress(const Descriptor& descriptor);

// A parameter with its raw value, which is null when the device has none.
struct Parameter {
    Descriptor descriptor;
    util::UniqueJSON value;
};

bool hasValue(const Parameter& parameter);

// Decodes the JSON form of one parameter. Empty when it is not an object or has no "oid" text;
// every other member may be missing.
std::optional<Parameter> decodeParameter(const cJSON* item);

// The members of a structure's value, { "_d_<name>": <parameter without "oid">, ... }, under their
// names without the prefix.
std::vector<Parameter> decodeMembers(const cJSON* structure);

// All parameters of a descriptor object, { "d_<name>": <parameter>, ... }, in its order, without
// invalid members; null returns none.
std::vector<Parameter> decodeParameters(const cJSON* object);

}  // namespace client
