#include "frame/status.h"

#include <array>
#include <cstdio>
#include <map>
#include <sstream>

#include "frame/devices.h"
#include "frame/paths.h"

namespace frame {

namespace {

std::string line(std::string_view what, std::string_view value) {
    std::string text(what);
    text.resize(std::max<size_t>(text.size() + 1, 11), ' ');
    return text.append(value) + "\n";
}

std::string volts(double value) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f V", value);
    return text.data();
}

std::string describePorts(const Bond& bond) {
    std::string text;
    for (const Slave& slave : bond.slaves) {
        const bool active = slave.interface == bond.active;
        text += line(slave.interface, active ? "up, active" : slave.up ? "up" : "down");
    }
    return text;
}

std::string describePower(const Power& power) {
    return line("psu 1", volts(power.psu1)) + line("psu 2", volts(power.psu2)) +
           line("battery", volts(power.battery) + (power.loaded ? ", load on" : ""));
}

std::string describeServices(const Tree& tree) {
    std::map<std::string, std::string> states;
    std::error_code none;
    const auto directory = tree.path(paths::kServices);
    for (const auto& entry : std::filesystem::directory_iterator(directory, none)) {
        const std::string name = entry.path().filename().string();
        states[name] = tree.read(std::string(paths::kServices) + "/" + name);
    }
    std::string text;
    for (const auto& [name, state] : states) {
        text += line("service", name + " " + state);
    }
    return text;
}

}  // namespace

std::string describe(const Tree& tree) {
    std::string text = line("product", productOf(tree).name);
    text += describePorts(bondOf(tree)) + describePower(powerOf(tree)) + describeServices(tree);
    for (const std::string& path : tree.hiddenFiles()) {
        text += line("missing", path);
    }
    std::istringstream commands(tree.read(paths::kCommands));
    for (std::string command; std::getline(commands, command);) {
        text += line("told", command);
    }
    return text;
}

}  // namespace frame
