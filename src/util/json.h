#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <cjson/cJSON.h>

namespace util {

// Ownership and small verbs for cJSON items. An item belongs to one UniqueJSON, or to the object or
// array it was added to; a raw pointer is borrowed and lives as long as that owner.

struct JSONDeleter {
    void operator()(cJSON* item) const { cJSON_Delete(item); }
};
using UniqueJSON = std::unique_ptr<cJSON, JSONDeleter>;

// The member of that exact, case-sensitive name, borrowed from `object`.
// Null when `object` is null or no object, or has no such member.
const cJSON* jsonMember(const cJSON* object, const char* key);

// The text of a string item, borrowed from it; null for a null item and for every other type.
const char* jsonText(const cJSON* item);

// Appends `item` to an object (an array) and hands it over. False, and the item freed, when
// either is null or memory ran out.
bool addMember(cJSON* object, const char* key, UniqueJSON item);
bool addElement(cJSON* array, UniqueJSON item);

// New items owned by the caller; null only when memory ran out.
UniqueJSON jsonNumber(double value);
UniqueJSON jsonString(const std::string& text);
UniqueJSON jsonBool(bool value);
UniqueJSON jsonObject();
UniqueJSON jsonArray();
UniqueJSON jsonNull();
// An item that is printed as this text.
UniqueJSON jsonRaw(const std::string& text);

// Reads one JSON value from exactly `size` bytes, which need no terminator. Null when they hold
// none, or one nested deeper than cJSON allows (1000 levels). What follows the value is ignored.
UniqueJSON parseJSON(const char* text, size_t size);

// A copy of the item and all below it; null for a null item or when memory ran out.
UniqueJSON copyJSON(const cJSON* item);

// The item as cJSON prints it, indented over several lines or without any white space.
// Empty for a null item and when memory ran out.
std::string renderJSON(const cJSON* item, bool formatted);

// The number of failed allocations of the JSON library on this thread. A tree or a text that was
// made while the number grew may be incomplete, even without an error.
unsigned long failedJSONAllocations();

// Replaces the allocator of the JSON library, malloc at first; its memory is freed by free. Gives
// the one that it replaced. Made for tests. Call it while no other thread uses JSON.
using JSONAllocator = void* (*)(size_t size);
JSONAllocator replaceJSONAllocator(JSONAllocator allocate);

// Holds one JSON document from its making to its end.
class JSONDocument {
  public:
    // Takes the root over; a null one becomes a new empty object.
    explicit JSONDocument(UniqueJSON root);
    // Parses the text; one that does not parse becomes a new empty object.
    explicit JSONDocument(const std::string& text);

    // Borrowed. Null only when memory ran out for the empty object.
    cJSON* root() const { return root_.get(); }

  private:
    UniqueJSON root_;
};

}  // namespace util
