#pragma once

#include <cstdint>
#include <string>

#include "util/json.h"

namespace util {

// The item's number, truncated and stopped at the ends of the type. The literal true is 1, any
// other item 0.
int32_t integerValue(const cJSON* item);

// Readers for the members of a JSON object, for classes that fill themselves from one. Each looks
// for the member of that exact name, stores its value and returns true. When `object` is null or
// not an object, or the member is absent, it returns false and leaves `value` as it was.

// False also when the member is not a string.
bool readField(const cJSON* object, const char* key, std::string& value);

// Numbers are truncated and stop at the ends of the type; any other member stores 0.
bool readField(const cJSON* object, const char* key, int32_t& value);
bool readField(const cJSON* object, const char* key, uint32_t& value);

// The low 8 bits of what the signed reader stores.
bool readField(const cJSON* object, const char* key, uint8_t& value);

// True only for the literal true: a 1 or a "true" stores false.
bool readStrictBool(const cJSON* object, const char* key, bool& value);

// A number is true when it is not zero. False, and nothing stored, when the member is neither a
// boolean nor a number.
bool readLenientBool(const cJSON* object, const char* key, bool& value);

}  // namespace util
