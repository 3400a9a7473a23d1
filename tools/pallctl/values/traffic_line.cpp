// A payload is decoded once into a header and data, and formatted as JSON, for a shell, or for
// people. The line for people has a summary of the data, made from the texts of its members, and is
// cut to the terminal part by part before it is painted.

#include "pallctl/values/traffic_line.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

#include "bus/message_types.h"
#include "bus/tarn_internal_message.h"
#include "cli/escape.h"
#include "cli/table.h"
#include "cli/time_text.h"
#include "recording/payload_encoding.h"
#include "util/numbers.h"

namespace pallctl {

namespace {

using Moment = std::chrono::system_clock::time_point;

constexpr size_t kTypeWidth = 6;    // "CMDRSP", "UPDATE"
constexpr size_t kClientWidth = 9;  // "pallwatch"
constexpr size_t kMinMiddleColumns = 40;
const std::string kGap = "  ";

constexpr std::string_view kDescriptorMark = "d_";

void append(std::string& text, const std::string& more, const char* between) {
    text += text.empty() || more.empty() ? "" : between;
    text += more;
}

std::string getKey(const cJSON* member) {
    return member->string ? member->string : "";
}

std::string formatPair(const cJSON* member) {
    return getKey(member) + '=' + util::renderJSON(member, false);
}

// The names in a request; empty otherwise.
std::string listRequestedNames(const cJSON* object) {
    std::string names;
    const cJSON* name = nullptr;
    cJSON_ArrayForEach(name, util::jsonMember(object, "objectName")) {
        const char* text = util::jsonText(name);
        append(names, text ? text : util::renderJSON(name, false), ", ");
    }
    return names;
}

std::string formatValues(const cJSON* param) {
    std::string text = listRequestedNames(param);
    if (!text.empty() || !cJSON_IsObject(param)) {
        return text.empty() ? util::renderJSON(param, false) : text;
    }
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, param) {
        append(text, formatPair(member), ", ");
    }
    return text;
}

std::string formatDescriptors(const cJSON* descriptors) {
    std::string names = listRequestedNames(descriptors);
    const cJSON* const described = names.empty() ? descriptors : nullptr;
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, described) {
        const std::string key = getKey(member);
        append(names, key.substr(key.starts_with(kDescriptorMark) ? kDescriptorMark.size() : 0),
               ", ");
    }
    return "descriptors of " + names;
}

std::string formatCode(const cJSON* code) {
    if (!cJSON_IsNumber(code)) {
        return util::renderJSON(code, false);
    }
    const int number = util::saturatedInt32(code->valuedouble);
    std::string text = std::to_string(number);
    append(text, statusText(number), " ");
    return text;
}

std::string formatNothing(const cJSON*) {
    return "";
}

// Keys with a text of their own, or that the line shows anyway.
struct KeyRow {
    std::string_view key;
    std::string (*text)(const cJSON* item);
};

constexpr KeyRow kKeys[] = {
    {"id", formatNothing},        {"requestCommand", formatNothing},
    {"statusMsg", formatNothing}, {"statusCode", formatCode},
    {"param", formatValues},      {"paramDescriptor", formatDescriptors},
};

std::string summarizeMember(const cJSON* member) {
    const auto* row = std::find_if(std::begin(kKeys), std::end(kKeys),
                                   [&](const KeyRow& each) { return each.key == getKey(member); });
    return row == std::end(kKeys) ? formatPair(member) : row->text(member);
}

MessageHead makeHead(const TarnInternalMessage& message) {
    return {typeWord(message.type()), message.objectName(), message.uniqueId(), message.source(),
            message.header().destination};
}

std::string_view findData(std::string_view payload) {
    const size_t end = payload.find('\n');
    return end == std::string_view::npos ? "" : payload.substr(end + 1);
}

std::string formatClient(int32_t id, const NameClient& nameClient) {
    const std::string name = nameClient(id);
    return name.empty() ? std::to_string(id) : name;
}

// A notification or request without a destination goes to all subscribers of the object.
std::string formatDestination(const TarnInternalMessage& message, const NameClient& nameClient) {
    constexpr std::array kAnswers{MessageType::RSP, MessageType::CMDRSP, MessageType::ACK,
                                  MessageType::NAK};
    const int32_t to = message.header().destination;
    const bool isAnswer =
        std::find(kAnswers.begin(), kAnswers.end(), message.type()) != kAnswers.end();
    return to == 0 && !isAnswer ? "*" : formatClient(to, nameClient);
}

std::string pad(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// Invalid JSON becomes a text.
util::UniqueJSON jsonData(TarnInternalMessage& message, std::string_view payload) {
    util::UniqueJSON data = message.takeData();
    return data && !cJSON_IsNull(data.get())
               ? std::move(data)
               : util::jsonString(cli::escapeForTerminal(std::string(findData(payload))));
}

struct Member {
    const char* name;
    std::string text;
};

// As in a recording.
Member makePayloadMember(std::string_view payload) {
    return recording::isLegible(payload) ? Member{"payload", std::string(payload)}
                                         : Member{"base64", recording::toBase64(payload)};
}

util::UniqueJSON nameOrNull(const std::string& name) {
    return name.empty() ? util::jsonNull() : util::jsonString(name);
}

std::string formatJSON(std::string_view payload, Moment moment, const NameClient& nameClient) {
    const util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), "time", util::jsonString(cli::isoTime(moment)));
    if (auto message = TarnInternalMessage::tryDecode(payload)) {
        const MessageHead head = makeHead(*message);
        util::addMember(object.get(), "type", util::jsonString(head.type));
        util::addMember(object.get(), "from", util::jsonNumber(head.from));
        util::addMember(object.get(), "fromName", nameOrNull(nameClient(head.from)));
        util::addMember(object.get(), "to", util::jsonNumber(head.to));
        util::addMember(object.get(), "toName", nameOrNull(nameClient(head.to)));
        util::addMember(object.get(), "object", util::jsonString(head.object));
        util::addMember(object.get(), "data", jsonData(*message, payload));
    } else {
        const Member member = makePayloadMember(payload);
        util::addMember(object.get(), member.name, util::jsonString(member.text));
    }
    return jsonLine(object.get()) + '\n';
}

std::string formatMember(const char* name, const std::string& value) {
    return ' ' + formatAssignment(name, cli::escapeForTerminal(value));
}

std::string formatShell(std::string_view payload, Moment moment, const NameClient& nameClient) {
    const std::string time = formatAssignment("time", cli::isoTime(moment));
    const auto message = TarnInternalMessage::tryDecode(payload);
    if (!message) {
        const Member member = makePayloadMember(payload);
        return time + formatMember(member.name, member.text) + '\n';
    }
    const MessageHead head = makeHead(*message);
    return time + formatMember("type", head.type) +
           formatMember("from", std::to_string(head.from)) +
           formatMember("fromName", nameClient(head.from)) +
           formatMember("to", std::to_string(head.to)) +
           formatMember("toName", nameClient(head.to)) + formatMember("object", head.object) +
           formatMember("data", std::string(findData(payload))) + '\n';
}

// A line for people, before it is cut and painted.
struct Parts {
    std::string time;
    std::string type;
    std::string middle;  // sender, destination, object and content
    std::string id;
};

std::string formatContent(const TarnInternalMessage& message, std::string_view payload, bool raw) {
    return raw || !cJSON_IsObject(message.data())
               ? cli::escapeForTerminal(std::string(findData(payload)))
               : summarizeData(message.data());
}

Parts makeParts(std::string_view payload, Moment moment, const Style& style,
                const NameClient& nameClient) {
    const std::string time = cli::formatTime(moment, style.time);
    const auto message = TarnInternalMessage::tryDecode(payload);
    if (!message) {
        return {time, pad("?", kTypeWidth), cli::escapeForTerminal(std::string(payload)), ""};
    }
    const std::string from = formatClient(message->source(), nameClient);
    const std::string blanks(kClientWidth - std::min(kClientWidth, from.size()), ' ');
    const std::string content = formatContent(*message, payload, style.raw);
    return {time, pad(typeWord(message->type()), kTypeWidth),
            blanks + from + " -> " + pad(formatDestination(*message, nameClient), kClientWidth) +
                kGap + cli::escapeForTerminal(message->objectName()) +
                (content.empty() ? "" : kGap + content),
            cli::escapeForTerminal(message->uniqueId())};
}

// The ID goes first: it only helps to find the other half of an exchange.
void fit(Parts& parts, size_t columns) {
    const size_t head = cli::textWidth(parts.time + kGap + parts.type + kGap);
    const size_t room = columns - std::min(columns, head);
    const size_t forID = parts.id.empty() ? 0 : cli::textWidth(parts.id + kGap);
    const bool hasRoomForID = room >= forID + kMinMiddleColumns;
    if (!hasRoomForID) {
        parts.id.clear();
    }
    parts.middle = cli::shorten(parts.middle, room - (hasRoomForID ? forID : 0));
}

std::string formatPlain(std::string_view payload, Moment moment, const Style& style, size_t columns,
                        const NameClient& nameClient) {
    Parts parts = makeParts(payload, moment, style, nameClient);
    if (columns > 0) {
        fit(parts, columns);
    }
    const auto look = [&style](const std::string& text, cli::Paint paint) {
        return style.colour ? cli::painted(text, paint) : text;
    };
    const std::string line = look(parts.time, cli::Paint::faint) + kGap +
                             look(parts.type, cli::Paint::bold) + kGap + parts.middle;
    return line + (parts.id.empty() ? "" : kGap + look(parts.id, cli::Paint::faint)) + '\n';
}

}  // namespace

std::string summarizeData(const cJSON* data) {
    if (!cJSON_IsObject(data)) {
        return cli::escapeForTerminal(util::renderJSON(data, false));
    }
    std::string text;
    const cJSON* member = nullptr;
    cJSON_ArrayForEach(member, data) {
        append(text, summarizeMember(member), " ");
    }
    return cli::escapeForTerminal(text);
}

MessageHead parseMessageHead(std::string_view payload) {
    const auto message = TarnInternalMessage::tryDecode(payload);
    return message ? makeHead(*message) : MessageHead();
}

std::string formatMessageLine(std::string_view payload, Moment moment, const Style& style,
                              size_t columns, const NameClient& nameClient) {
    switch (style.format) {
        case Format::json:
            return formatJSON(payload, moment, nameClient);
        case Format::keyvalue:
            return formatShell(payload, moment, nameClient);
        case Format::table:
            break;
    }
    return formatPlain(payload, moment, style, columns, nameClient);
}

}  // namespace pallctl
