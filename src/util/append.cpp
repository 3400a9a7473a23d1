#include "util/append.h"

namespace util {

void append(std::string& text, std::initializer_list<std::string_view> parts) {
    std::size_t place = text.size();
    std::size_t size = place;
    for (const std::string_view part : parts) {
        size += part.size();
    }
    text.resize(size);
    for (const std::string_view part : parts) {
        place += part.copy(text.data() + place, part.size());
    }
}

}  // namespace util
