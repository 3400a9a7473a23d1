// Whatever a payload consists of, it is shown on one line that commands no terminal, is no wider
// than asked for, and is JSON as JSON.

#include "pallctl/values/traffic_line.h"

#include <algorithm>
#include <string>

#include "cli/table.h"
#include "fuzz_target.h"
#include "util/json.h"

namespace {

constexpr std::chrono::system_clock::time_point kMoment{};

bool isPlain(const std::string& line) {
    const bool controls = std::any_of(line.begin(), line.end() - 1, [](unsigned char byte) {
        return byte < 0x20 || byte == 0x7f;
    });
    return !controls && line.back() == '\n';
}

bool hasC1(const std::string& line) {
    for (size_t at = line.find('\xc2'); at != std::string::npos; at = line.find('\xc2', at + 1)) {
        if (static_cast<unsigned char>(line[at + 1]) < 0xa0) {
            return true;
        }
    }
    return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const QuietLog quiet;
    const std::string payload = textOf(data, size);
    for (const auto format :
         {pallctl::Format::table, pallctl::Format::json, pallctl::Format::keyvalue}) {
        for (const size_t columns : {size_t{0}, size_t{40}, size_t{80}}) {
            for (const bool raw : {false, true}) {
                const std::string line =
                    pallctl::formatMessageLine(payload, kMoment, {format, raw, false}, columns);
                require(isPlain(line) && !hasC1(line));
                require(columns == 0 || format != pallctl::Format::table ||
                        cli::textWidth(line) <= columns + 1);
                require(format != pallctl::Format::json ||
                        util::parseJSON(line.data(), line.size()));
            }
        }
    }
    return 0;
}
