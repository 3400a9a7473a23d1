#include "on_pallbus.h"

using harness::Result;

Words program(const std::string& name, const Words& arguments) {
    Words words{harness::programDirectory() / name};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

OnPallbus::OnPallbus(std::string_view product) : frame(product) {
    frame.remove("/vantor/etc/configurableSystemDetails.json");
}

void OnPallbus::startBus(const Words& arguments) {
    bus.emplace(program("pallbus", arguments));
    bus->output().waitFor("listening on");
}

void OnPallbus::startDaemon(const Words& arguments) {
    daemon.emplace(arguments);
    const Result answered = pallctl({"--wait=20", "get", "systemName"});
    ASSERT_EQ(answered.status, 0) << answered.error << daemon->error().text();
}

void OnPallbus::start(const Words& daemonArguments) {
    startBus();
    startDaemon(daemonArguments);
}

Result OnPallbus::pallctl(const Words& words) {
    return harness::run(program("pallctl", words));
}

testing::Matcher<std::string> isOneComplaint(const std::string& program) {
    return testing::MatchesRegex(program + ": [^\n]+\n");
}
