#include "pallctl/values/traffic_line.h"

#include <algorithm>
#include <array>
#include <optional>

#include "bus/tarn_internal_message.h"
#include "cli/escape.h"
#include "cli/table.h"
#include "cli/time_text.h"
#include "pallctl/values/traffic_summary.h"
#include "recording/payload_text.h"

namespace pallctl {

namespace {

using Moment = std::chrono::system_clock::time_point;

constexpr size_t kTypeWidth = 6;  // "CMDRSP", "UPDATE"
constexpr size_t kIdWidth = 7;    // a client's own id
constexpr size_t kLeastMiddle = 40;
const std::string kGap = "  ";
constexpr const char* kCut = "\u2026";

MessageHead headOf(const TarnInternalMessage& message) {
    return {typeWord(message.type()), message.objectName(), message.source(),
            message.header().destination};
}

std::string_view dataOf(std::string_view payload) {
    const size_t end = payload.find('\n');
    return end == std::string_view::npos ? "" : payload.substr(end + 1);
}

// Those that are for nobody in particular are for everybody who subscribed the object.
std::string addressee(const TarnInternalMessage& message) {
    constexpr std::array kAnswers{MessageType::RSP, MessageType::CMDRSP, MessageType::ACK,
                                  MessageType::NAK};
    const int32_t to = message.header().destination;
    const bool isAnswer =
        std::find(kAnswers.begin(), kAnswers.end(), message.type()) != kAnswers.end();
    return to == 0 && !isAnswer ? "*" : std::to_string(to);
}

std::string padded(std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

// The text in at most so many columns, cut with a mark.
std::string shortened(const std::string& text, size_t columns) {
    if (cli::textWidth(text) <= columns) {
        return text;
    }
    std::string cut;
    for (const char byte : text) {
        if (cli::textWidth(cut + byte) >= columns) {
            break;
        }
        cut += byte;
    }
    return columns == 0 ? "" : cut + kCut;
}

// Data that is no JSON as a text.
util::UniqueJSON jsonData(TarnInternalMessage& message, std::string_view payload) {
    util::UniqueJSON data = message.takeData();
    return data && !cJSON_IsNull(data.get())
               ? std::move(data)
               : util::jsonString(cli::escapeForTerminal(std::string(dataOf(payload))));
}

struct Member {
    const char* name;
    std::string text;
};

// As a recording has it, exactly.
Member payloadMember(std::string_view payload) {
    return recording::isLegible(payload) ? Member{"payload", std::string(payload)}
                                         : Member{"base64", recording::toBase64(payload)};
}

std::string jsonTraffic(std::string_view payload, Moment moment) {
    const util::UniqueJSON object = util::jsonObject();
    util::addMember(object.get(), "time", util::jsonString(cli::isoTime(moment)));
    if (auto message = TarnInternalMessage::tryDecode(payload)) {
        const MessageHead head = headOf(*message);
        util::addMember(object.get(), "type", util::jsonString(head.type));
        util::addMember(object.get(), "from", util::jsonNumber(head.from));
        util::addMember(object.get(), "to", util::jsonNumber(head.to));
        util::addMember(object.get(), "object", util::jsonString(head.object));
        util::addMember(object.get(), "data", jsonData(*message, payload));
    } else {
        const Member member = payloadMember(payload);
        util::addMember(object.get(), member.name, util::jsonString(member.text));
    }
    return jsonLine(object.get()) + '\n';
}

std::string assignment(const char* name, const std::string& value) {
    return ' ' + formatAssignment(name, cli::escapeForTerminal(value));
}

std::string shellTraffic(std::string_view payload, Moment moment) {
    const std::string time = formatAssignment("time", cli::isoTime(moment));
    const auto message = TarnInternalMessage::tryDecode(payload);
    if (!message) {
        const Member member = payloadMember(payload);
        return time + assignment(member.name, member.text) + '\n';
    }
    const MessageHead head = headOf(*message);
    return time + assignment("type", head.type) + assignment("from", std::to_string(head.from)) +
           assignment("to", std::to_string(head.to)) + assignment("object", head.object) +
           assignment("data", std::string(dataOf(payload))) + '\n';
}

// A line for people, before it is cut and painted.
struct Parts {
    std::string time;
    std::string type;
    std::string middle;  // who, about what, and what it says
    std::string id;
};

std::string contentOf(const TarnInternalMessage& message, std::string_view payload, bool raw) {
    return raw || !cJSON_IsObject(message.data())
               ? cli::escapeForTerminal(std::string(dataOf(payload)))
               : summarizeData(message.data());
}

Parts partsOf(std::string_view payload, Moment moment, bool raw) {
    const auto message = TarnInternalMessage::tryDecode(payload);
    if (!message) {
        return {cli::clockTime(moment), padded("?", kTypeWidth),
                cli::escapeForTerminal(std::string(payload)), ""};
    }
    const std::string from = std::to_string(message->source());
    const std::string blanks(kIdWidth - std::min(kIdWidth, from.size()), ' ');
    const std::string content = contentOf(*message, payload, raw);
    return {cli::clockTime(moment), padded(typeWord(message->type()), kTypeWidth),
            blanks + from + " -> " + padded(addressee(*message), kIdWidth) + kGap +
                cli::escapeForTerminal(message->objectName()) +
                (content.empty() ? "" : kGap + content),
            cli::escapeForTerminal(message->uniqueId())};
}

// The id is the first to go: it is for those who look for the other half of an exchange.
void fit(Parts& parts, size_t columns) {
    const size_t head = cli::textWidth(parts.time + kGap + parts.type + kGap);
    const size_t room = columns - std::min(columns, head);
    const size_t forID = parts.id.empty() ? 0 : cli::textWidth(parts.id + kGap);
    const bool hasRoomForID = room >= forID + kLeastMiddle;
    if (!hasRoomForID) {
        parts.id.clear();
    }
    parts.middle = shortened(parts.middle, room - (hasRoomForID ? forID : 0));
}

std::string plainTraffic(std::string_view payload, Moment moment, const Style& style,
                         size_t columns) {
    Parts parts = partsOf(payload, moment, style.raw);
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

MessageHead parseMessageHead(std::string_view payload) {
    const auto message = TarnInternalMessage::tryDecode(payload);
    return message ? headOf(*message) : MessageHead();
}

std::string formatMessageLine(std::string_view payload, Moment moment, const Style& style,
                              size_t columns) {
    switch (style.format) {
        case Format::json:
            return jsonTraffic(payload, moment);
        case Format::keyvalue:
            return shellTraffic(payload, moment);
        case Format::table:
            break;
    }
    return plainTraffic(payload, moment, style, columns);
}

}  // namespace pallctl
