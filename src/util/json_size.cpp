#include "util/json_size.h"

#include <cstdio>
#include <cstring>

namespace util {

namespace {

constexpr std::size_t kMaxNumberBytes = 26;

void add(RenderedSize& size, std::size_t bytes) {
    size.least += bytes;
    size.most += bytes;
}

void add(RenderedSize& size, const RenderedSize& part) {
    size.least += part.least;
    size.most += part.most;
}

std::size_t renderedBytes(char character) {
    if (std::strchr("\"\\\b\f\n\r\t", character) != nullptr) {
        return 2;
    }
    constexpr std::size_t kUnicodeEscape = 6;
    return static_cast<unsigned char>(character) < ' ' ? kUnicodeEscape : 1;
}

std::size_t renderedText(const char* text) {
    std::size_t bytes = 2;
    for (; text != nullptr && *text != '\0'; ++text) {
        bytes += renderedBytes(*text);
    }
    return bytes;
}

RenderedSize renderedNumber(const cJSON& item) {
    if (item.valuedouble != static_cast<double>(item.valueint)) {
        return {1, kMaxNumberBytes};
    }
    const auto digits = static_cast<std::size_t>(std::snprintf(nullptr, 0, "%d", item.valueint));
    return {digits, digits};
}

RenderedSize renderedMembers(const cJSON& item, bool named) {
    RenderedSize size{2, 2};
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, &item) {
        add(size, renderedSize(member));
        add(size, named ? renderedText(member->string) + 1 : 0);
        add(size, member->next != nullptr ? 1 : 0);
    }
    return size;
}

}  // namespace

RenderedSize renderedSize(const cJSON* item) {
    if (item == nullptr) {
        return {};
    }
    if (cJSON_IsNumber(item)) {
        return renderedNumber(*item);
    }
    if (cJSON_IsArray(item) || cJSON_IsObject(item)) {
        return renderedMembers(*item, cJSON_IsObject(item));
    }
    RenderedSize size;
    if (cJSON_IsString(item)) {
        add(size, renderedText(item->valuestring));
    } else if (cJSON_IsRaw(item)) {
        add(size, item->valuestring != nullptr ? std::strlen(item->valuestring) : 0);
    } else {
        add(size, std::strlen(cJSON_IsFalse(item) ? "false" : "true"));
    }
    return size;
}

}  // namespace util
