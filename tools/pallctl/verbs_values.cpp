// The verbs that ask and end.

#include <memory>
#include <string>
#include <vector>

#include "client/setting.h"
#include "client/verbs.h"
#include "client/waiting.h"
#include "verbs.h"

namespace pallctl {

namespace {

using Words = std::vector<std::string>;

struct SetWords {
    Words assignments;
    SetOptions options;
};

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
    const auto words = std::make_shared<SetWords>();
    verb->add_option("NAME=VALUE", words->assignments)->required();
    verb->add_flag("-f,--force", words->options.force,
                   "Send what does not fit, or to no known name");
    verb->add_flag("-a,--always", words->options.always, "Send also what is set already");
    verb->callback([&run, words] {
        run = [words](const Common& common) {
            return set(common.reach, common.style, words->assignments, words->options);
        };
    });
}

void addList(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("list", "Print all parameters");
    verb->callback(
        [&run] { run = [](const Common& common) { return list(common.reach, common.style); }; });
}

void addDescribe(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("describe", "Print all that is known of parameters");
    const auto names = std::make_shared<Words>();
    verb->add_option("NAME", *names, "Only these");
    verb->callback([&run, names] {
        run = [names](const Common& common) {
            return describe(common.reach, common.style, *names);
        };
    });
}

void addWait(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("wait", "End when the value is or becomes so");
    const auto assignment = std::make_shared<std::string>();
    verb->add_option("NAME=VALUE", *assignment, "Compared as the type has it, not as a text")
        ->required();
    verb->footer("Ends with 9 when --timeout has passed; without it waits for ever.");
    verb->callback([&run, assignment] {
        run = [assignment](const Common& common) {
            return waitFor(common.reach, common.style, *assignment);
        };
    });
}

void addVersion(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("version", "Print the versions of program and frame");
    verb->callback([&run] {
        run = [](const Common& common) {
            return version(common.reach, common.style, programVersion());
        };
    });
}

}  // namespace pallctl
