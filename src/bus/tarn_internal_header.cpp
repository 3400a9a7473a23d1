#include "bus/tarn_internal_header.h"

#include <array>
#include <cstdio>
#include <cstring>

#include "util/json.h"
#include "util/numbers.h"
#include "util/parse_integer.h"

namespace {

constexpr size_t kLineBufferSize = 256;
constexpr size_t kMaxNumberCharacters = 15;
// Takes the place of every scheduled time on the wire.
constexpr const char* kDatePlaceholder = "datehere";

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
    std::array<char, kLineBufferSize> line = {};
    if (scheduled.isScheduled()) {
        std::snprintf(line.data(), line.size(), "[\"%s\", \"%s\", %d, %d, \"%s\"]\n",
                      typeWord(type), objectName.c_str(), source, destination, kDatePlaceholder);
    } else {
        std::snprintf(line.data(), line.size(), "[\"%s\", \"%s\", %d, %d, 0]\n", typeWord(type),
                      objectName.c_str(), source, destination);
    }
    return line.data();
}

std::optional<lumo::DecodedHeader> lumo::decodeHeader(const char* line, const timespec& now) {
    const std::size_t length = std::strlen(line);
    if (length > kMaxLineBytes) {
        return std::nullopt;
    }
    const util::UniqueJSON items = util::parseJSON(line, length);
    if (!cJSON_IsArray(items.get()) || cJSON_GetArraySize(items.get()) < kRequiredItems) {
        return std::nullopt;
    }
    const char* const word = util::jsonText(cJSON_GetArrayItem(items.get(), kType));
    const char* const objectName = util::jsonText(cJSON_GetArrayItem(items.get(), kObjectName));
    DecodedHeader decoded;
    TarnInternalHeader& header = decoded.header;
    header.type = word ? typeFromWord(word) : MessageType::none;
    if (header.type == MessageType::none || !objectName) {
        return std::nullopt;
    }
    header.objectName = objectName;
    decodeEnd(cJSON_GetArrayItem(items.get(), kSource), header.source, header.sourceQualifier);
    decodeEnd(cJSON_GetArrayItem(items.get(), kDestination), header.destination,
              header.destinationQualifier);
    decodeTime(cJSON_GetArrayItem(items.get(), kScheduledTime), now, decoded);
    return decoded;
}
