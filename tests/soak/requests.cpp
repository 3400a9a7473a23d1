#include "soaking/requests.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "util/json.h"

namespace soak {

namespace {

constexpr bool kSaved = true;
constexpr bool kSteady = true;

constexpr std::array<Parameter, 18> kParameters{{
    {"frameName", Values::text, 40, kSaved, kSteady},
    {"systemName", Values::text, 40, kSaved, kSteady},
    {"active", Values::flag, 30, kSaved, kSteady},
    {"quoraneProfilesEnabled", Values::flag, 30, kSaved, kSteady},
    {"quoraneUsersEnabled", Values::flag, 30, kSaved, kSteady},
    {"activeKeli", Values::flag, 30, !kSaved, !kSteady},  // also by what the bus says of the pair
    {"serial0", Values::connectionPoint, 3, !kSaved, !kSteady},
    {"serial1", Values::connectionPoint, 3, !kSaved, !kSteady},
    {"serial2", Values::connectionPoint, 3, !kSaved, !kSteady},
    {"sshEnabled", Values::flag, 3, kSaved, kSteady},
    {"ftpEnabled", Values::flag, 3, kSaved, kSteady},
    {"ambrixEnabled", Values::flag, 2, kSaved, !kSteady},  // also by its own shut-off
    {"activeEthernet", Values::port, 2, kSaved, !kSteady},
    {"generateReport", Values::command, 1, kSaved, kSteady},
    {"restartNetwork", Values::command, 1, kSaved, kSteady},
    {"ipAddress", Values::address, 1, !kSaved, !kSteady},
    {"netmask", Values::netmask, 1, !kSaved, !kSteady},
    {"gateway", Values::address, 1, !kSaved, !kSteady},
}};

constexpr std::array<const char*, 8> kReadings{"psu1Voltage", "psu2Voltage",    "battVoltage",
                                               "version",     "ethPort1Status", "ethPort2Status",
                                               "frameType",   "serial0"};

constexpr std::string_view kLetters = "abcdefgXYZ 0123456789-_.,;:!'\"\\/%s{}[]";
constexpr std::string_view kIdTail = "@soak";

std::string jsonText(const std::string& text) {
    return util::renderJSON(util::jsonString(text).get(), false);
}

// Neither saved nor acted upon: any number of clients can set it at any rate.
bool isCheap(const Parameter& parameter) {
    return std::string_view(parameter.name) == "activeKeli";
}

std::string nameList(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ",") + jsonText(name);
    }
    return "{\"objectName\":[" + list + "]}";
}

}  // namespace

std::span<const Parameter> writableParameters() {
    return kParameters;
}

std::optional<uint64_t> requestNumber(const std::string& id) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
    if (error != std::errc() || std::string_view(end) != kIdTail) {
        return std::nullopt;
    }
    return number;
}

Request RequestMaker::numbered(const char* type, const std::string& body) {
    Request request;
    request.number = ++last_;
    request.type = type;
    request.data = "{\"id\":\"" + std::to_string(request.number);
    request.data.append(kIdTail).append("\",").append(body).append("}");
    return request;
}

Request RequestMaker::any(bool network) {
    if (random_.onceIn(2)) {
        return getOfAnyKind();
    }
    if (random_.onceIn(40)) {
        return refused();
    }
    const Parameter* parameter = nullptr;
    do {
        parameter = &random_.pick(kParameters);
    } while (parameter->isNetwork() && !network);
    return set(*parameter);
}

Request RequestMaker::amongOthers() {
    if (random_.onceIn(2)) {
        return getOfAnyKind();
    }
    return random_.onceIn(40) ? refused() : set(*std::ranges::find_if(kParameters, isCheap));
}

Request RequestMaker::set(const Parameter& parameter) {
    const std::string value = valueFor(parameter);
    Request request = numbered("SET", "\"param\":{" + jsonText(parameter.name) + ":" + value + "}");
    request.parameter = &parameter;
    const bool command = parameter.values == Values::command;
    request.kept = command ? "0" : value;  // a command goes back when it was carried out
    request.announced = value;
    // What is announced of these is not what was sent, or the poll may have been there first.
    if (parameter.values == Values::connectionPoint || parameter.values == Values::port) {
        request.announced.clear();
        request.kept.clear();
    }
    return request;
}

// What the device does not take, and says so.
Request RequestMaker::refused() {
    if (random_.onceIn(2)) {
        Request request = numbered("SET", R"("param":{"nothing":1})");
        request.status = 404;
        return request;
    }
    Request request = numbered("SET", R"("param":{"frameName":7})");
    request.status = 400;
    return request;
}

Request RequestMaker::get(std::vector<std::string> names) {
    Request request = numbered("GET", "\"param\":" + nameList(names));
    request.answers = names.size();
    request.names = std::move(names);
    return request;
}

Request RequestMaker::getOfAnyKind() {
    if (random_.onceIn(50)) {
        return get({"paramDescriptor"});
    }
    if (random_.onceIn(10)) {
        return numbered(
            "GET", "\"paramDescriptor\":" + nameList({random_.pick(kParameters).name, "nothing"}));
    }
    std::vector<std::string> names;
    for (int64_t count = random_.between(1, 4); count > 0; --count) {
        names.emplace_back(random_.onceIn(3) ? kReadings[static_cast<size_t>(random_.between(0, 7))]
                                             : random_.pick(kParameters).name);
    }
    // Each name is answered once, however often it is listed.
    std::ranges::sort(names);
    names.erase(std::ranges::unique(names).begin(), names.end());
    return get(std::move(names));
}

std::string RequestMaker::valueFor(const Parameter& parameter) {
    switch (parameter.values) {
        case Values::text:
            return jsonText(random_.text(24, kLetters));
        case Values::port:
            return std::to_string(random_.between(0, 2));  // there are two; 2 is put back
        case Values::address:
            return std::to_string(0x0A000000 + random_.between(2, 0xFFFFFE));
        case Values::netmask:
            return std::to_string(0xFFFFFFFF << random_.between(4, 20) & 0xFFFFFFFF);
        case Values::connectionPoint:
            return R"({"_d_connectionPoint":{"type":"STRING","value":)" +
                   jsonText(random_.text(12, kLetters)) + "}}";
        case Values::flag:
        case Values::command:
            break;
    }
    return std::to_string(random_.between(0, 1));
}

}  // namespace soak
