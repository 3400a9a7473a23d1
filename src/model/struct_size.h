#pragma once

#include <cstddef>
#include <string_view>

#include <cjson/cJSON.h>

class ToskParam;
class ToskValue;

namespace model {

// The size of a struct, now or after a set: without limits, a sender could make it grow for ever.
struct StructSize {
    static constexpr std::size_t kMaxMembers = 64;
    static constexpr std::size_t kMaxTextBytes = std::size_t{1} * 1024 * 1024;

    std::size_t members = 0;  // those of structs inside it counted
    std::size_t texts = 0;    // bytes of names, widgets, values and choices

    bool tooLarge() const { return members > kMaxMembers || texts > kMaxTextBytes; }
    StructSize& operator+=(const StructSize& other);
    // By how much this is more than the other, each of the two by itself.
    StructSize over(const StructSize& other) const;
};

// An empty or null object has the size zero. The first two measure what is held, the others what is
// read from an item.
StructSize sizeOfValue(const ToskValue* value);
StructSize sizeOfMember(const ToskParam& member);
StructSize sizeOfValue(const cJSON* item);
StructSize sizeOfMember(const cJSON* item, std::string_view name);

// The beginning of a key in a struct's JSON if a member follows; the rest is its name.
constexpr std::string_view kMemberPrefix = "_d_";
bool isMemberKey(const char* key);

}  // namespace model
