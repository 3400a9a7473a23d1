// JSON that is written without a tree is the JSON that the library prints: the input as a number,
// as a string, and as JSON.

#include "util/json_text.h"

#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz_target.h"
#include "util/json.h"

namespace {

void writeNumber(const std::string& input) {
    double number = 0;
    std::memcpy(&number, input.data(), std::min(sizeof number, input.size()));
    std::string out;
    util::appendJSONNumber(out, number);
    require(out == util::renderJSON(util::jsonNumber(number).get(), false));
}

void writeString(const std::string& input) {
    std::string out;
    util::appendJSONString(out, input);
    require(out == util::renderJSON(util::jsonString(input).get(), false));
}

void writeItem(const std::string& input) {
    const util::UniqueJSON item = util::parseJSON(input.data(), input.size());
    if (item) {
        std::string out;
        util::appendJSON(out, *item);
        require(out == util::renderJSON(item.get(), false));
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input = textOf(data, size);
    writeNumber(input);
    writeString(input);
    writeItem(input);
    return 0;
}
