// A file is read to its end, line by line: every line is a message, a named problem, or blank; and
// what was read is read again from the line that is written of it.

#include "recording/recording.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <string>

#include "fuzz_target.h"
#include "recording/line_format.h"

namespace {

using recording::Entry;
using recording::Reader;

constexpr const char* kName = "input";

util::UniqueFile fileOf(std::string& text) {
    return util::UniqueFile(fmemopen(text.data(), text.size(), "r"));
}

std::optional<Reader> opened(std::string& text) try {
    return std::optional<Reader>(std::in_place, fileOf(text), kName);
} catch (const std::runtime_error& problem) {
    require(std::string(problem.what()).rfind("input:1: not a recording: ", 0) == 0);
    return std::nullopt;
}

// False at the end.
bool readOne(Reader& reader) try {
    const std::optional<Entry> entry = reader.next();
    require(!entry || recording::parseEntryLine(recording::formatLine(*entry)) == *entry);
    return entry.has_value();
} catch (const std::runtime_error& problem) {
    const std::string place = "input:" + std::to_string(reader.line()) + ": ";
    require(std::string(problem.what()).rfind(place, 0) == 0);
    return true;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text = textOf(data, size);
    if (text.empty()) {
        return 0;
    }
    if (std::optional<Reader> reader = opened(text)) {
        require(recording::parseHeaderLine(recording::formatLine(reader->header())) ==
                reader->header());
        while (readOne(*reader)) {
        }
        require(reader->line() <= size_t(std::count(text.begin(), text.end(), '\n')) + 1);
    }
    return 0;
}
