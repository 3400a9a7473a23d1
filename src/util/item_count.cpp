#include "util/item_count.h"

namespace util {

namespace {

// The end of the text that begins after `quote`, or the end of the JSON if it has none.
std::size_t endOfText(std::string_view json, std::size_t quote) {
    std::size_t place = quote + 1;
    while (place < json.size() && json[place] != '"') {
        place += json[place] == '\\' ? 2U : 1U;
    }
    return place;
}

}  // namespace

bool hasMoreItems(std::string_view json, std::size_t most) {
    std::size_t items = 0;
    std::size_t depth = 0;
    for (std::size_t place = 0; place < json.size(); ++place) {
        const char byte = json[place];
        if (byte == '"') {
            place = endOfText(json, place);
        } else if (byte == '[' || byte == '{') {
            ++depth;
            ++items;
        } else if (byte == ',' && depth > 0) {
            ++items;
        } else if ((byte == ']' || byte == '}') && (depth == 0 || --depth == 0)) {
            return items > most;
        }
        if (items > most) {
            return true;
        }
    }
    return false;
}

}  // namespace util
