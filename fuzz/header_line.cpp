// A header line means the same whether it is scanned or read by the JSON library. A tab behind the
// first bracket changes nothing but that: the scanner leaves the line to the library.

#include <string>

#include "bus/tarn_internal_header.h"
#include "fuzz_target.h"

namespace {

void requireEqual(const lumo::DecodedHeader& one, const lumo::DecodedHeader& other) {
    require(one.header.type == other.header.type);
    require(one.header.objectName == other.header.objectName);
    require(one.header.source == other.header.source);
    require(one.header.destination == other.header.destination);
    require(one.header.sourceQualifier == other.header.sourceQualifier);
    require(one.header.destinationQualifier == other.header.destinationQualifier);
    require(lumo::compareTimes(one.header.scheduled, other.header.scheduled) == 0);
    require(one.timeFault == other.timeFault);
    require(one.timeText == other.timeText);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr timespec kNow{1'800'000'000, 0};
    constexpr size_t kMaxCompared = 60'000;  // well below the limit, which the tab would exceed
    std::string line = textOf(data, size).c_str();
    const auto decoded = lumo::decodeHeader(line.c_str(), kNow);
    const size_t bracket = line.find('[');
    if (bracket == std::string::npos || line.size() > kMaxCompared) {
        return 0;
    }
    const auto byLibrary = lumo::decodeHeader(line.insert(bracket + 1, "\t").c_str(), kNow);
    require(decoded.has_value() == byLibrary.has_value());
    if (decoded) {
        requireEqual(*decoded, *byLibrary);
    }
    return 0;
}
