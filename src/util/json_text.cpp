#include "util/json_text.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <new>

#include "util/append.h"
#include "util/json_size.h"

namespace util {

namespace {

// The library writes whole numbers of up to 15 digits without an exponent.
constexpr double kPlainNumberEnd = 1e15;

bool isPlain(char character) {
    return static_cast<unsigned char>(character) >= ' ' && character != '"' && character != '\\';
}

// The number of characters at the beginning that need no escape.
std::size_t countPlain(std::string_view text) {
    std::size_t count = 0;
    while (count < text.size() && isPlain(text[count])) {
        ++count;
    }
    return count;
}

void appendEscape(std::string& out, char character) {
    constexpr std::string_view kSpecial = "\"\\\b\f\n\r\t";
    constexpr std::string_view kLetters = "\"\\bfnrt";
    constexpr std::string_view kHexDigits = "0123456789abcdef";
    const std::size_t place = kSpecial.find(character);
    out += '\\';
    if (place != std::string_view::npos) {
        out += kLetters[place];
        return;
    }
    const auto code = static_cast<unsigned char>(character);
    out.append("u00").append(1, kHexDigits[code >> 4]).append(1, kHexDigits[code & 0xF]);
}

bool isPlainInteger(double number) {
    return number > -kPlainNumberEnd && number < kPlainNumberEnd &&
           number == static_cast<double>(static_cast<int64_t>(number)) &&
           !(number == 0 && std::signbit(number));
}

// Fractions and long numbers are rare: the library itself decides how many digits they need.
void appendAnyNumber(std::string& out, double number) {
    cJSON item{};
    item.type = cJSON_Number;
    cJSON_SetNumberHelper(&item, number);
    std::array<char, 64> text{};
    constexpr cJSON_bool kFormatted = 1;
    if (!cJSON_PrintPreallocated(&item, text.data(), text.size(), !kFormatted)) {
        throw std::bad_alloc();
    }
    out += text.data();
}

void appendText(std::string& out, const char* text) {
    appendJSONString(out, text != nullptr ? std::string_view(text) : std::string_view());
}

void appendItem(std::string& out, const cJSON& item);

void appendMembers(std::string& out, const cJSON& item) {
    const bool named = cJSON_IsObject(&item) != 0;
    out += named ? '{' : '[';
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, &item) {
        if (named) {
            appendText(out, member->string);
            out += ':';
        }
        appendItem(out, *member);
        if (member->next != nullptr) {
            out += ',';
        }
    }
    out += named ? '}' : ']';
}

void appendItem(std::string& out, const cJSON& item) {
    if (cJSON_IsString(&item)) {
        appendText(out, item.valuestring);
    } else if (cJSON_IsNumber(&item)) {
        appendJSONNumber(out, item.valuedouble);
    } else if (cJSON_IsArray(&item) || cJSON_IsObject(&item)) {
        appendMembers(out, item);
    } else if (cJSON_IsRaw(&item)) {
        out += item.valuestring;
    } else if (cJSON_IsBool(&item)) {
        out += cJSON_IsTrue(&item) ? "true" : "false";
    } else {
        out += "null";
    }
}

}  // namespace

void appendJSONString(std::string& out, std::string_view text) {
    out += '"';
    for (;;) {
        const std::size_t plain = countPlain(text);
        out.append(text.data(), plain);
        if (plain == text.size() || text[plain] == '\0') {
            break;
        }
        appendEscape(out, text[plain]);
        text.remove_prefix(plain + 1);
    }
    out += '"';
}

void appendJSONNumber(std::string& out, double number) {
    if (!isPlainInteger(number)) {
        appendAnyNumber(out, number);
        return;
    }
    append(out, {Digits(static_cast<int64_t>(number))});
}

void appendJSON(std::string& out, const cJSON& item) {
    // What follows an item, a bracket or a line feed, shall not double the memory of a long one.
    constexpr std::size_t kMargin = 16;
    out.reserve(out.size() + renderedSize(&item).most + kMargin);
    appendItem(out, item);
}

}  // namespace util
