// The verbs that ask and end.

#include <memory>
#include <string>
#include <vector>

#include "client/verbs.h"
#include "verbs.h"

namespace pallctl {

namespace {

using Words = std::vector<std::string>;

}  // namespace

void addGet(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("get", "Print values, one line each");
    const auto names = std::make_shared<Words>();
    verb->add_option("NAME", *names)->required();
    verb->callback([&run, names] {
        run = [names](const Common& common) { return get(common.reach, common.style, *names); };
    });
}

void addSet(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("set", "Set values, one after the other");
    const auto assignments = std::make_shared<Words>();
    verb->add_option("NAME=VALUE", *assignments)->required();
    verb->callback([&run, assignments] {
        run = [assignments](const Common& common) { return set(common.reach, *assignments); };
    });
}

void addList(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("list", "Print all parameters");
    verb->callback(
        [&run] { run = [](const Common& common) { return list(common.reach, common.style); }; });
}

}  // namespace pallctl
