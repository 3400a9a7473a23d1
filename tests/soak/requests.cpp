// What may be set, and to which values, is derived from the daemon's catalogue. Half of the
// requests are sets, chosen by weight; the others ask for a few parameters or descriptors. Each
// request knows its expected outcome, so that the tracker needs no knowledge of parameters.

#include "soak_lib/requests.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

#include "systemstate/catalogue.h"
#include "systemstate/param_keys.h"
#include "util/json.h"

namespace soak {

namespace {

using systemstate::CatalogueRow;

constexpr int64_t kOftenWeight = 30;

Values chooseValues(const CatalogueRow& row) {
    const std::string_view key(row.key);
    if (key == systemstate::kActiveEthernetKey) {
        return Values::port;
    }
    if (*row.widget != '\0') {
        return key == systemstate::kNetmaskKey ? Values::netmask : Values::address;
    }
    if (row.type == model::kTypeString) {
        return Values::text;
    }
    if (row.type == model::kTypeStruct) {
        return Values::connectionPoint;
    }
    return row.choices.data() == std::data(systemstate::kCommandTexts) ? Values::command
                                                                       : Values::flag;
}

// A set that runs commands delays all other requests.
int64_t weigh(const CatalogueRow& row, Values values) {
    if (row.reaction != nullptr && row.reaction->runsCommands) {
        return values == Values::flag ? 3 : 1;
    }
    return values == Values::connectionPoint ? 3 : kOftenWeight;
}

Parameter describe(const CatalogueRow& row) {
    const Values values = chooseValues(row);
    return {.name = leafName(row).data(),
            .values = values,
            .weight = weigh(row, values),
            .saved = row.storage == systemstate::Storage::published,
            .steady = row.changedBy == nullptr && values != Values::connectionPoint};
}

constexpr std::string_view kLetters = "abcdefgXYZ 0123456789-_.,;:!'\"\\/%s{}[]";
constexpr std::string_view kIdTail = "@soak";

std::string renderText(const std::string& text) {
    return util::renderJSON(util::jsonString(text).get(), false);
}

// Any number of clients can set it at any rate: it is neither saved nor acted upon.
bool isCheap(const Parameter& parameter) {
    return !parameter.saved && parameter.weight == kOftenWeight;
}

// Any parameter of the device, most of which are readings.
const char* pickReading(Random& random) {
    const auto rows = systemstate::catalogue();
    const int64_t last = static_cast<int64_t>(rows.size()) - 1;
    return leafName(rows[static_cast<size_t>(random.between(0, last))]).data();
}

std::string renderNames(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names) {
        list += (list.empty() ? "" : ",") + renderText(name);
    }
    return "{\"objectName\":[" + list + "]}";
}

}  // namespace

const std::vector<Parameter>& writableParameters() {
    static const std::vector<Parameter> writable = [] {
        std::vector<Parameter> all;
        for (const CatalogueRow& row : systemstate::catalogue()) {
            if (row.access == systemstate::Access::writable) {
                all.push_back(describe(row));
            }
        }
        return all;
    }();
    return writable;
}

std::optional<uint64_t> parseRequestNumber(const std::string& id) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(id.data(), id.data() + id.size(), number);
    if (error != std::errc() || std::string_view(end) != kIdTail) {
        return std::nullopt;
    }
    return number;
}

Request RequestMaker::makeNumbered(const char* type, const std::string& body) {
    Request request;
    request.number = ++last_;
    request.type = type;
    request.data = "{\"id\":\"" + std::to_string(request.number);
    request.data.append(kIdTail).append("\",").append(body).append("}");
    return request;
}

Request RequestMaker::makeAny(bool network) {
    if (random_.onceIn(2)) {
        return makeAnyGet();
    }
    if (random_.onceIn(40)) {
        return makeRejected();
    }
    const Parameter* parameter = nullptr;
    do {
        parameter = &random_.pick(writableParameters());
    } while (parameter->isNetwork() && !network);
    return makeSet(*parameter);
}

Request RequestMaker::makeIndependent() {
    if (random_.onceIn(2)) {
        return makeAnyGet();
    }
    return random_.onceIn(40) ? makeRejected()
                              : makeSet(*std::ranges::find_if(writableParameters(), isCheap));
}

Request RequestMaker::makeSet(const Parameter& parameter) {
    const std::string value = makeValue(parameter);
    Request request =
        makeNumbered("SET", "\"param\":{" + renderText(parameter.name) + ":" + value + "}");
    request.parameter = &parameter;
    const bool command = parameter.values == Values::command;
    request.kept = command ? "0" : value;  // a command returns to 0 once it is carried out
    request.announced = value;
    // The notification has other text than the request, or comes from the poll.
    if (parameter.values == Values::connectionPoint || parameter.values == Values::port) {
        request.announced.clear();
        request.kept.clear();
    }
    return request;
}

// A request that the device rejects.
Request RequestMaker::makeRejected() {
    if (random_.onceIn(2)) {
        Request request = makeNumbered("SET", R"("param":{"nothing":1})");
        request.status = 404;
        return request;
    }
    Request request = makeNumbered("SET", R"("param":{"frameName":7})");
    request.status = 400;
    return request;
}

Request RequestMaker::makeGet(std::vector<std::string> names) {
    Request request = makeNumbered("GET", "\"param\":" + renderNames(names));
    request.answers = names.size();
    request.names = std::move(names);
    return request;
}

Request RequestMaker::makeAnyGet() {
    if (random_.onceIn(50)) {
        return makeGet({"paramDescriptor"});
    }
    if (random_.onceIn(10)) {
        return makeNumbered("GET",
                            "\"paramDescriptor\":" +
                                renderNames({random_.pick(writableParameters()).name, "nothing"}));
    }
    std::vector<std::string> names;
    for (int64_t count = random_.between(1, 4); count > 0; --count) {
        names.emplace_back(random_.onceIn(3) ? pickReading(random_)
                                             : random_.pick(writableParameters()).name);
    }
    // Each name is answered once, however often it is listed.
    std::ranges::sort(names);
    names.erase(std::ranges::unique(names).begin(), names.end());
    return makeGet(std::move(names));
}

std::string RequestMaker::makeValue(const Parameter& parameter) {
    switch (parameter.values) {
        case Values::text:
            return renderText(random_.text(24, kLetters));
        case Values::port:
            return std::to_string(random_.between(0, 2));  // 2 does not exist and is replaced
        case Values::address:
            return std::to_string(0x0A000000 + random_.between(2, 0xFFFFFE));
        case Values::netmask:
            return std::to_string(0xFFFFFFFF << random_.between(4, 20) & 0xFFFFFFFF);
        case Values::connectionPoint:
            return R"({"_d_connectionPoint":{"type":"STRING","value":)" +
                   renderText(random_.text(12, kLetters)) + "}}";
        case Values::flag:
        case Values::command:
            break;
    }
    return std::to_string(random_.between(0, 1));
}

}  // namespace soak
