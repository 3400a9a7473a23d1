#include "util/json_fields.h"

#include "util/numbers.h"

namespace util {

int32_t integerValue(const cJSON* item) {
    return cJSON_IsTrue(item) ? 1 : saturatedInt32(item->valuedouble);
}

bool readField(const cJSON* object, const char* key, std::string& value) {
    const char* text = jsonText(jsonMember(object, key));
    if (text == nullptr) {
        return false;
    }
    value = text;
    return true;
}

bool readField(const cJSON* object, const char* key, int32_t& value) {
    const cJSON* member = jsonMember(object, key);
    if (member == nullptr) {
        return false;
    }
    value = saturatedInt32(member->valuedouble);
    return true;
}

bool readField(const cJSON* object, const char* key, uint32_t& value) {
    const cJSON* member = jsonMember(object, key);
    if (member == nullptr) {
        return false;
    }
    value = saturatedUInt32(member->valuedouble);
    return true;
}

bool readField(const cJSON* object, const char* key, uint8_t& value) {
    int32_t integer = 0;
    if (!readField(object, key, integer)) {
        return false;
    }
    value = static_cast<uint8_t>(integer & 0xFF);
    return true;
}

bool readStrictBool(const cJSON* object, const char* key, bool& value) {
    const cJSON* member = jsonMember(object, key);
    if (member == nullptr) {
        return false;
    }
    value = cJSON_IsTrue(member);
    return true;
}

bool readLenientBool(const cJSON* object, const char* key, bool& value) {
    const cJSON* member = jsonMember(object, key);
    if (cJSON_IsNumber(member)) {
        value = member->valuedouble != 0;
        return true;
    }
    if (cJSON_IsBool(member)) {
        value = cJSON_IsTrue(member);
        return true;
    }
    return false;
}

}  // namespace util
