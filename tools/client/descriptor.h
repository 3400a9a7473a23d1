#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "util/json.h"

// What a device says about one of its parameters, as far as a person needs it to read and to write
// the value. Plain data, any thread.

namespace client {

// A number that has a name.
struct Choice {
    int64_t value = 0;
    std::string name;
};

struct Descriptor {
    std::string name;   // full identifier, "system.ipAddress"
    std::string label;  // for people, "IP Address"
    std::string type;   // type word, "INT32"
    bool readOnly = false;
    std::string widget;           // display hint, mostly empty
    int precision = -1;           // decimals to show; negative: not said
    std::string constraint;       // what kind of values it takes, "INT_CHOICE"; mostly empty
    std::vector<Choice> choices;  // empty: any value
    std::optional<double> least;  // of a range; not said: any
    std::optional<double> most;
    std::optional<double> step;  // between the values of a range
    int maxLength = -1;          // of a text, in bytes; negative: not said
    int totalLength = -1;        // likewise, for whoever lays the text out
};

// The type word of what has members, and what stands before their names in its value.
inline constexpr const char* kStructureType = "STRUCT";
inline constexpr const char* kMemberMark = "_d_";

// Whether it is a whole number that people know as an address, "10.0.0.5".
bool isAddress(const Descriptor& descriptor);

// A parameter as it was read: its value in wire form, null when the device holds none.
struct Parameter {
    Descriptor descriptor;
    util::UniqueJSON value;
};

bool hasValue(const Parameter& parameter);

// Reads the JSON form of one parameter. Nothing when it is no object or has no "oid" text; every
// other member may be missing.
std::optional<Parameter> decodeParameter(const cJSON* item);

// The members of a structure's value, { "_d_<name>": <parameter without "oid">, ... }, under their
// bare names.
std::vector<Parameter> decodeMembers(const cJSON* structure);

// All parameters of a descriptor object, { "d_<name>": <parameter>, ... }, in its order. A member
// that is no parameter is left out; null gives none.
std::vector<Parameter> decodeParameters(const cJSON* object);

}  // namespace client
