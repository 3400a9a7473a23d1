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

void addGet(Verb program, Run& run) {
    Verb verb = program.addVerb("get", "Print values, one line each");
    const auto names = std::make_shared<Words>();
    verb.add("NAME", *names).required();
    verb.action([&run, names] {
        run = [names](const Common& common) { return get(common.reach, common.style, *names); };
    });
}

void addSet(Verb program, Run& run) {
    Verb verb = program.addVerb("set", "Set values, one after the other");
    const auto words = std::make_shared<SetWords>();
    verb.add("NAME=VALUE", words->assignments).required();
    verb.addFlag("-f,--force", words->options.force, "Send what does not fit, or to no known name");
    verb.addFlag("-a,--always", words->options.always, "Send also what is set already");
    verb.action([&run, words] {
        run = [words](const Common& common) {
            return set(common.reach, common.style, words->assignments, words->options);
        };
    });
}

void addList(Verb program, Run& run) {
    Verb verb = program.addVerb("list", "Print all parameters");
    verb.action(
        [&run] { run = [](const Common& common) { return list(common.reach, common.style); }; });
}

void addDescribe(Verb program, Run& run) {
    Verb verb = program.addVerb("describe", "Print all that is known of parameters");
    const auto names = std::make_shared<Words>();
    verb.add("NAME", *names, "Only these");
    verb.action([&run, names] {
        run = [names](const Common& common) {
            return describe(common.reach, common.style, *names);
        };
    });
}

void addWait(Verb program, Run& run) {
    Verb verb = program.addVerb("wait", "End when the value is or becomes so");
    const auto assignment = std::make_shared<std::string>();
    verb.add("NAME=VALUE", *assignment, "Compared as the type has it, not as a text").required();
    verb.notes("Ends with 9 when --timeout has passed; without it waits for ever.");
    verb.action([&run, assignment] {
        run = [assignment](const Common& common) {
            return waitFor(common.reach, common.style, *assignment);
        };
    });
}

void addVersion(Verb program, Run& run) {
    Verb verb = program.addVerb("version", "Print the versions of program and frame");
    verb.action([&run] {
        run = [](const Common& common) {
            return version(common.reach, common.style, programVersion());
        };
    });
}

}  // namespace pallctl
