#include "pallframe/doctor/frame_status.h"

#include <array>
#include <cstdio>
#include <sstream>

#include "cli/escape.h"
#include "cli/table.h"
#include "pallframe/doctor/json_text.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/paths.h"

namespace pallframe::doctor {

namespace {

using cli::escapeForTerminal;
using cli::Table;
using simulation::Bond;
using simulation::FrameRoot;
using simulation::Power;
using simulation::ProgramSetting;
using simulation::Slave;

std::map<std::string, std::string> servicesOf(const FrameRoot& tree) {
    std::map<std::string, std::string> states;
    std::error_code none;
    const auto directory = tree.path(simulation::paths::kServices);
    for (const auto& entry : std::filesystem::directory_iterator(directory, none)) {
        const std::string name = entry.path().filename().string();
        states[name] = tree.read(std::string(simulation::paths::kServices) + "/" + name);
    }
    return states;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string volts(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.2f V", value);
    return text.data();
}

std::string seconds(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%g s", value);
    return text.data();
}

std::string stateOf(const Slave& slave, const Bond& bond) {
    std::string state = slave.up ? "up" : "down";
    if (slave.interface == bond.active) {
        state += ", active";
    }
    return slave.linkFailures == 0 ? state
                                   : state + ", failures: " + std::to_string(slave.linkFailures);
}

std::string stateOf(const ProgramSetting& program) {
    std::string state;
    if (program.seconds > 0) {
        state = "takes " + seconds(program.seconds);
    }
    if (program.status != 0) {
        state += (state.empty() ? "" : ", ") + ("fails with " + std::to_string(program.status));
    }
    return state;
}

void addDevices(cli::Table& table, const FrameStatus& status) {
    for (const Slave& slave : status.bond.slaves) {
        table.add({"port", cli::escapeForTerminal(slave.interface), stateOf(slave, status.bond)});
    }
    table.add({"supply", "1", volts(status.power.psu1)});
    table.add({"supply", "2", volts(status.power.psu2)});
    table.add(
        {"battery", "", volts(status.power.battery) + (status.power.loaded ? ", load on" : "")});
}

UniqueJSON portsOf(const Bond& bond) {
    UniqueJSON ports = jsonArray();
    for (const Slave& slave : bond.slaves) {
        UniqueJSON port = jsonObject();
        addMember(port.get(), "name", textItem(slave.interface));
        addMember(port.get(), "up", jsonBool(slave.up));
        addMember(port.get(), "active", jsonBool(slave.interface == bond.active));
        addMember(port.get(), "failures", jsonNumber(slave.linkFailures));
        addMember(port.get(), "address", textItem(slave.address));
        addElement(ports.get(), std::move(port));
    }
    return ports;
}

UniqueJSON powerOf(const Power& power) {
    UniqueJSON all = jsonObject();
    addMember(all.get(), "supply1", jsonNumber(power.psu1));
    addMember(all.get(), "supply2", jsonNumber(power.psu2));
    addMember(all.get(), "battery", jsonNumber(power.battery));
    addMember(all.get(), "loaded", jsonBool(power.loaded));
    return all;
}

UniqueJSON servicesOf(const std::map<std::string, std::string>& services) {
    UniqueJSON all = jsonObject();
    for (const auto& [name, state] : services) {
        addMember(all.get(), cli::validUTF8(name).c_str(), textItem(state));
    }
    return all;
}

UniqueJSON programsOf(const std::vector<ProgramSetting>& programs) {
    UniqueJSON all = jsonArray();
    for (const ProgramSetting& program : programs) {
        UniqueJSON one = jsonObject();
        addMember(one.get(), "name", textItem(program.name));
        addMember(one.get(), "seconds", jsonNumber(program.seconds));
        addMember(one.get(), "status", jsonNumber(program.status));
        addElement(all.get(), std::move(one));
    }
    return all;
}

}  // namespace

FrameStatus statusOf(const FrameRoot& tree) {
    return {std::string(simulation::productOf(tree).name),
            simulation::bondOf(tree),
            simulation::powerOf(tree),
            servicesOf(tree),
            tree.filesSetAside(),
            simulation::programSettings(tree),
            linesOf(tree.read(simulation::paths::kCommands))};
}

std::string tableOf(const FrameStatus& status) {
    cli::Table table({"WHAT", "NAME", "STATE"});
    table.add({"product", "", status.product});
    addDevices(table, status);
    for (const auto& [name, state] : status.services) {
        table.add({"service", cli::escapeForTerminal(name), cli::escapeForTerminal(state)});
    }
    for (const ProgramSetting& program : status.programs) {
        table.add({"program", program.name, stateOf(program)});
    }
    for (const std::string& path : status.missing) {
        table.add({"file", cli::escapeForTerminal(path), "missing"});
    }
    size_t calls = 0;
    for (const std::string& call : status.calls) {
        table.add({"call", std::to_string(++calls), cli::escapeForTerminal(call)});
    }
    return table.text();
}

std::string jsonOf(const FrameStatus& status) {
    const UniqueJSON all = jsonObject();
    addMember(all.get(), "product", textItem(status.product));
    addMember(all.get(), "ports", portsOf(status.bond));
    addMember(all.get(), "power", powerOf(status.power));
    addMember(all.get(), "services", servicesOf(status.services));
    addMember(all.get(), "programs", programsOf(status.programs));
    addMember(all.get(), "missing", textItems(status.missing));
    addMember(all.get(), "calls", textItems(status.calls));
    return renderJSON(all.get(), false) + "\n";
}

}  // namespace pallframe::doctor
