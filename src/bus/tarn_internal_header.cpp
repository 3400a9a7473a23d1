#include "bus/tarn_internal_header.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "util/append.h"
#include "util/json.h"
#include "util/json_scanner.h"
#include "util/numbers.h"
#include "util/parse_integer.h"

namespace {

using namespace std::string_view_literals;

constexpr size_t kMaxEncodedBytes = 255;
constexpr size_t kMaxNumberCharacters = 15;
// Takes the place of every scheduled time on the wire.
constexpr std::string_view kScheduledEnd = ", \"datehere\"]\n";
constexpr std::string_view kUnscheduledEnd = ", 0]\n";

// Far longer than any real header. The tree of a line of small items takes forty times its length.
constexpr std::size_t kMaxLineBytes = std::size_t{64} * 1024;

enum HeaderItem { kType, kObjectName, kSource, kDestination, kScheduledTime, kRequiredItems = 4 };

// One end of a message, received as N or as "N@qualifier".
void decodeEnd(const cJSON* item, int32_t& number, std::string& qualifier) {
    if (cJSON_IsNumber(item)) {
        number = util::saturatedInt32(item->valuedouble);
        qualifier.clear();
        return;
    }
    const char* const text = util::jsonText(item);
    const char* const at = text ? std::strchr(text, '@') : nullptr;
    if (!at || static_cast<size_t>(at - text) > kMaxNumberCharacters ||
        !util::parseWholeInteger(std::string(text, at), number)) {
        return;
    }
    qualifier = at + 1;
}

void decodeTime(const cJSON* item, const timespec& now, lumo::DecodedHeader& decoded) {
    const char* const text = util::jsonText(item);
    if (!text) {
        return;
    }
    const lumo::DecodedTime time = lumo::decodeScheduledTime(text, now);
    decoded.header.scheduled = time.time;
    decoded.timeFault = time.fault;
    if (time.fault != lumo::TimeFault::none) {
        decoded.timeText = text;
    }
}

// The line as nearly every sender writes it, read without a tree: five items, no escapes and no
// scheduled time.
bool scanUsualLine(std::string_view line, TarnInternalHeader& header) {
    util::JSONScanner scanner(line);
    std::string_view word;
    std::string_view objectName;
    int32_t source = 0;
    int32_t destination = 0;
    int32_t time = 0;
    const bool usual = scanner.take('[') && scanner.takeString(word) && scanner.take(',') &&
                       scanner.takeString(objectName) && scanner.take(',') &&
                       scanner.takeInteger(source) && scanner.take(',') &&
                       scanner.takeInteger(destination) && scanner.take(',') &&
                       scanner.takeInteger(time) && scanner.take(']');
    if (!usual) {
        return false;
    }
    header.type = typeFromWord(word);
    header.objectName = objectName;
    header.source = source;
    header.destination = destination;
    return header.type != MessageType::none;
}

bool decodeAnyLine(std::string_view line, const timespec& now, lumo::DecodedHeader& decoded) {
    const util::UniqueJSON items = util::parseJSON(line.data(), line.size());
    if (!cJSON_IsArray(items.get()) || cJSON_GetArraySize(items.get()) < kRequiredItems) {
        return false;
    }
    const char* const word = util::jsonText(cJSON_GetArrayItem(items.get(), kType));
    const char* const objectName = util::jsonText(cJSON_GetArrayItem(items.get(), kObjectName));
    TarnInternalHeader& header = decoded.header;
    header.type = word ? typeFromWord(word) : MessageType::none;
    if (header.type == MessageType::none || !objectName) {
        return false;
    }
    header.objectName = objectName;
    decodeEnd(cJSON_GetArrayItem(items.get(), kSource), header.source, header.sourceQualifier);
    decodeEnd(cJSON_GetArrayItem(items.get(), kDestination), header.destination,
              header.destinationQualifier);
    decodeTime(cJSON_GetArrayItem(items.get(), kScheduledTime), now, decoded);
    return true;
}

}  // namespace

void TarnInternalHeader::splitObjectName() {
    objectPath.clear();
    size_t begin = 0;
    for (size_t dot = 0; (dot = objectName.find('.', begin)) != std::string::npos;
         begin = dot + 1) {
        objectPath.push_back(objectName.substr(begin, dot - begin));
    }
    objectPath.push_back(objectName.substr(begin));
}

std::string TarnInternalHeader::encode() const {
    std::string line;
    encodeTo(line);
    return line;
}

// A name that alone is too long for the line is not copied as a whole.
void TarnInternalHeader::encodeTo(std::string& text) const {
    const size_t end = text.size() + kMaxEncodedBytes;
    const std::string_view name(objectName.c_str(), strnlen(objectName.c_str(), kMaxEncodedBytes));
    util::append(text, {"[\""sv, typeWord(type), "\", \""sv, name, "\", "sv, util::Digits(source),
                        ", "sv, util::Digits(destination),
                        scheduled.isScheduled() ? kScheduledEnd : kUnscheduledEnd});
    text.resize(std::min(text.size(), end));
}

std::optional<lumo::DecodedHeader> lumo::decodeHeader(const char* line, const timespec& now) {
    const std::string_view text = line;
    if (text.size() > kMaxLineBytes) {
        return std::nullopt;
    }
    std::optional<DecodedHeader> decoded(std::in_place);
    if (!scanUsualLine(text, decoded->header) && !decodeAnyLine(text, now, *decoded)) {
        decoded.reset();
    }
    return decoded;
}
