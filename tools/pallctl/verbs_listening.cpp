// The verbs that go on until they are ended.

#include <memory>
#include <string>
#include <vector>

#include "client/watch.h"
#include "verbs.h"

namespace pallctl {

namespace {

struct WatchWords {
    std::vector<std::string> names;
    bool table = false;
};

}  // namespace

void addWatch(CLI::App& app, Run& run) {
    CLI::App* verb = app.add_subcommand("watch", "Print each change as it happens");
    const auto words = std::make_shared<WatchWords>();
    verb->add_option("NAME", words->names, "Show only these");
    verb->add_flag("--table", words->table, "Print the table first");
    verb->callback([&run, words] {
        run = [words](const Common& common) {
            return Watch(common.reach, common.style, words->names, words->table).run();
        };
    });
}

}  // namespace pallctl
