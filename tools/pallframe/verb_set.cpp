#include <cstdio>
#include <memory>

#include "frame/devices.h"
#include "frame/programs.h"
#include "frame/status.h"
#include "verbs.h"

namespace pallframe {

namespace {

using namespace frame;

struct Words {
    Which which;
    std::string name;
    std::string state;
    double number = 0;
};

CLI::App* addChange(CLI::App& set, const char* name, const char* what) {
    CLI::App* verb = set.add_subcommand(name, what);
    verb->fallthrough();  // --tree may also stand last
    return verb;
}

void addCable(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "cable", "Pull a port's cable or plug it in");
    verb->add_option("interface", words.name, "eth0 or eth1")->required();
    verb->add_option("state", words.state)->required()->check(CLI::IsMember({"down", "up"}));
    verb->callback([&] { setCable(words.which.tree(), words.name, words.state == "up"); });
}

void addSupply(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "psu", "What a power supply delivers");
    verb->add_option("number", words.name)->required()->check(CLI::IsMember({"1", "2"}));
    verb->add_option("volts", words.number)->required()->check(CLI::Range(0.0, 29.0));
    verb->callback([&] { setSupply(words.which.tree(), std::stoi(words.name), words.number); });
}

void addBattery(CLI::App& set, Words& words) {
    CLI::App* verb =
        addChange(set, "battery", "The battery's voltage under load, 0 to take it out");
    verb->add_option("volts", words.number)->required()->check(CLI::Range(0.0, 5.0));
    verb->callback([&] { setBattery(words.which.tree(), words.number); });
}

void addFile(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "file", "Take a file of the frame away or put it back");
    verb->add_option("path", words.name, "Its path in the frame")->required();
    verb->add_option("state", words.state)
        ->required()
        ->check(CLI::IsMember({"missing", "present"}));
    verb->callback([&] {
        const Tree tree = words.which.tree();
        words.state == "missing" ? tree.hide(words.name) : tree.show(words.name);
    });
}

void addPause(CLI::App& set, Words& words) {
    CLI::App* verb = addChange(set, "pause", "How long each call of a program of the frame takes");
    verb->add_option("program", words.name, "Such as S40network")->required();
    verb->add_option("seconds", words.number)->required()->check(CLI::Range(0.0, 3600.0));
    verb->callback([&] { setPause(words.which.tree(), words.name, words.number); });
}

}  // namespace

void addSet(CLI::App& app, Call&) {
    const auto words = std::make_shared<Words>();
    CLI::App* set = app.add_subcommand("set", "Change a frame while it runs");
    set->require_subcommand(1);
    set->callback([words] {});  // the words live as long as the verb
    words->which.addTo(*set);
    for (const auto add : {addCable, addSupply, addBattery, addFile, addPause}) {
        add(*set, *words);
    }
}

void addStatus(CLI::App& app, Call&) {
    const auto which = std::make_shared<Which>();
    CLI::App* verb = app.add_subcommand("status", "Ports, voltages, services, what was called");
    which->addTo(*verb);
    verb->callback([which] { std::fputs(describe(which->tree()).c_str(), stdout); });
}

}  // namespace pallframe
