#include "offers.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <set>
#include <string_view>

#include "client/time_text.h"
#include "frame/product.h"
#include "frame/programs.h"
#include "frame/registry.h"
#include "inspection/checks.h"
#include "verbs.h"

namespace pallframe {

namespace {

std::vector<Offer> products(const BegunValue&) {
    std::vector<Offer> found;
    for (const frame::Product& product : frame::products()) {
        found.push_back({std::string(product.name), ""});
    }
    return found;
}

std::vector<Offer> programs(const BegunValue&) {
    std::vector<Offer> found;
    for (const std::string& path : frame::programPaths()) {
        found.push_back({path.substr(path.rfind('/') + 1), path});
    }
    return found;
}

std::vector<Offer> runningFrames(const BegunValue&) {
    std::vector<Offer> found;
    for (const frame::RunningFrame& each : frame::Registry::ofUser().running()) {
        found.push_back({std::to_string(each.pid),
                         each.product + ", since " + pallctl::clockTime(each.started)});
    }
    return found;
}

std::string given(const BegunValue& begun, const char* option) {
    const auto found = begun.options.find(option);
    return found == begun.options.end() ? "" : found->second;
}

// What the daemon depends on, as far as the frame that is meant has it, and what was taken away.
std::vector<Offer> framePaths(const BegunValue& begun) {
    Which which{given(begun, "--tree"), given(begun, "--frame")};
    const frame::Tree tree = which.tree();
    std::set<std::string> present;
    for (const inspection::Check& check : inspection::checks()) {
        const std::string path = inspection::pathOf(check);
        if (path.starts_with("/") && tree.exists(path)) {
            present.insert(path);
        }
    }
    std::vector<Offer> found;
    found.reserve(present.size());
    for (const std::string& path : present) {
        found.push_back({path, ""});
    }
    for (const std::string& path : tree.hiddenFiles()) {
        found.push_back({path, "missing"});
    }
    return found;
}

// Words that a verb takes; for those that are the same at every time.
struct Choice {
    std::string_view verb;
    std::string_view kind;
    std::array<const char*, 2> words;
};
constexpr Choice kChoices[] = {
    {"cable", "PORT", {"eth0", "eth1"}},
    {"cable", "STATE", {"down", "up"}},
    {"psu", "NUMBER", {"1", "2"}},
    {"file", "STATE", {"missing", "present"}},
};

// Where the words for a kind come from otherwise.
struct Source {
    std::string_view kind;
    std::vector<Offer> (*offers)(const BegunValue& begun);
};
constexpr Source kSources[] = {
    {"PRODUCT", products},
    {"PROGRAM", programs},
    {"FRAME", runningFrames},
    {"PATH", framePaths},
};

}  // namespace

std::vector<Offer> offers(const BegunValue& begun) try {
    for (const Choice& choice : kChoices) {
        if (choice.verb == begun.verb && choice.kind == begun.kind) {
            return {{choice.words[0], ""}, {choice.words[1], ""}};
        }
    }
    const auto source =
        std::find_if(std::begin(kSources), std::end(kSources),
                     [&begun](const Source& each) { return each.kind == begun.kind; });
    return source == std::end(kSources) ? std::vector<Offer>() : source->offers(begun);
} catch (const std::exception&) {
    return {};  // nobody asked for a complaint
}

}  // namespace pallframe
