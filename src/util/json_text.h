#pragma once

#include <string>
#include <string_view>

#include <cjson/cJSON.h>

namespace util {

// Write JSON as text without a tree. Each function appends to `out` the bytes that the JSON library
// prints for the same value without white space, and throws std::bad_alloc when there is no memory.

// A value that was written already.
struct JSONText {
    std::string text;
};

// The text in quotes, escaped. It ends at a NUL, as every text of the library does.
void appendJSONString(std::string& out, std::string_view text);

// null for a number that is not finite.
void appendJSONNumber(std::string& out, double number);

// The item and everything below it, with one allocation of about the size of the result.
void appendJSON(std::string& out, const cJSON& item);

}  // namespace util
