#include "util/json.h"

#include <cstdlib>
#include <utility>

namespace util {

namespace {

thread_local unsigned long failedAllocations = 0;
JSONAllocator currentAllocator = std::malloc;

void* countingAllocator(size_t size) {
    void* const memory = currentAllocator(size);
    if (memory == nullptr) {
        ++failedAllocations;
    }
    return memory;
}

// The library's own calls do not all say that memory ran out: a number that finds none is a null
// that the next call drops.
[[maybe_unused]] const bool hooked = [] {
    cJSON_Hooks hooks{countingAllocator, std::free};
    cJSON_InitHooks(&hooks);
    return true;
}();

struct RenderingDeleter {
    void operator()(char* text) const { cJSON_free(text); }
};
using UniqueRendering = std::unique_ptr<char, RenderingDeleter>;

}  // namespace

const cJSON* jsonMember(const cJSON* object, const char* key) {
    return cJSON_IsObject(object) ? cJSON_GetObjectItemCaseSensitive(object, key) : nullptr;
}

const char* jsonText(const cJSON* item) {
    return cJSON_IsString(item) ? item->valuestring : nullptr;
}

bool addMember(cJSON* object, const char* key, UniqueJSON item) {
    if (!cJSON_AddItemToObject(object, key, item.get())) {
        return false;
    }
    static_cast<void>(item.release());
    return true;
}

bool addElement(cJSON* array, UniqueJSON item) {
    if (!cJSON_AddItemToArray(array, item.get())) {
        return false;
    }
    static_cast<void>(item.release());
    return true;
}

UniqueJSON jsonNumber(double value) {
    return UniqueJSON(cJSON_CreateNumber(value));
}

UniqueJSON jsonString(const std::string& text) {
    return UniqueJSON(cJSON_CreateString(text.c_str()));
}

UniqueJSON jsonBool(bool value) {
    return UniqueJSON(cJSON_CreateBool(value));
}

UniqueJSON jsonObject() {
    return UniqueJSON(cJSON_CreateObject());
}

UniqueJSON jsonArray() {
    return UniqueJSON(cJSON_CreateArray());
}

UniqueJSON jsonNull() {
    return UniqueJSON(cJSON_CreateNull());
}

UniqueJSON jsonRaw(const std::string& text) {
    return UniqueJSON(cJSON_CreateRaw(text.c_str()));
}

UniqueJSON parseJSON(const char* text, size_t size) {
    return UniqueJSON(cJSON_ParseWithLength(text, size));
}

UniqueJSON copyJSON(const cJSON* item) {
    const cJSON_bool everythingBelow = 1;
    return UniqueJSON(cJSON_Duplicate(item, everythingBelow));
}

std::string renderJSON(const cJSON* item, bool formatted) {
    const UniqueRendering text(formatted ? cJSON_Print(item) : cJSON_PrintUnformatted(item));
    return text ? std::string(text.get()) : std::string();
}

unsigned long failedJSONAllocations() {
    return failedAllocations;
}

JSONAllocator replaceJSONAllocator(JSONAllocator allocate) {
    return std::exchange(currentAllocator, allocate);
}

JSONDocument::JSONDocument(UniqueJSON root) : root_(root ? std::move(root) : jsonObject()) {}

JSONDocument::JSONDocument(const std::string& text)
    : JSONDocument(parseJSON(text.data(), text.size())) {}

}  // namespace util
