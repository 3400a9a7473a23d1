// readStatus() reads all of a frame's state at one time into a plain value; formatTable() and
// formatJSON() show that value.

#include "pallframe/doctor/frame_status.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

#include "cli/escape.h"
#include "cli/table.h"
#include "pallframe/doctor/json_text.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

namespace pallframe::doctor {

namespace {

using simulation::Bond;
using simulation::FrameRoot;
using simulation::Power;
using simulation::ProgramSetting;
using simulation::Slave;

std::map<std::string, std::string> readServices(const FrameRoot& tree) {
    std::map<std::string, std::string> states;
    std::error_code none;
    const auto directory = tree.path(simulation::paths::kServices);
    for (const auto& entry : std::filesystem::directory_iterator(directory, none)) {
        const std::string name = entry.path().filename().string();
        states[name] = tree.read(std::string(simulation::paths::kServices) + "/" + name);
    }
    return states;
}

std::vector<std::string> splitLines(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string formatVolts(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.2f V", value);
    return text.data();
}

std::string formatSeconds(double value) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%g s", value);
    return text.data();
}

std::string describeState(const Slave& slave, const Bond& bond) {
    std::string state = slave.up ? "up" : "down";
    if (slave.interface == bond.active) {
        state += ", active";
    }
    return slave.linkFailures == 0 ? state
                                   : state + ", failures: " + std::to_string(slave.linkFailures);
}

std::string describeState(const ProgramSetting& program) {
    std::string state;
    if (program.seconds > 0) {
        state = "takes " + formatSeconds(program.seconds);
    }
    if (program.status != 0) {
        state += (state.empty() ? "" : ", ") + ("fails with " + std::to_string(program.status));
    }
    return state;
}

void addDevices(cli::Table& table, const FrameStatus& status) {
    for (const Slave& slave : status.bond.slaves) {
        table.add(
            {"port", cli::escapeForTerminal(slave.interface), describeState(slave, status.bond)});
    }
    table.add({"supply", "1", formatVolts(status.power.psu1)});
    table.add({"supply", "2", formatVolts(status.power.psu2)});
    table.add({"battery", "",
               formatVolts(status.power.battery) + (status.power.loaded ? ", load on" : "")});
}

util::UniqueJSON makePorts(const Bond& bond) {
    util::UniqueJSON ports = util::jsonArray();
    for (const Slave& slave : bond.slaves) {
        util::UniqueJSON port = util::jsonObject();
        util::addMember(port.get(), "name", textItem(slave.interface));
        util::addMember(port.get(), "up", util::jsonBool(slave.up));
        util::addMember(port.get(), "active", util::jsonBool(slave.interface == bond.active));
        util::addMember(port.get(), "failures", util::jsonNumber(slave.linkFailures));
        util::addMember(port.get(), "address", textItem(slave.address));
        util::addElement(ports.get(), std::move(port));
    }
    return ports;
}

util::UniqueJSON makePower(const Power& power) {
    util::UniqueJSON all = util::jsonObject();
    util::addMember(all.get(), "supply1", util::jsonNumber(power.psu1));
    util::addMember(all.get(), "supply2", util::jsonNumber(power.psu2));
    util::addMember(all.get(), "battery", util::jsonNumber(power.battery));
    util::addMember(all.get(), "loaded", util::jsonBool(power.loaded));
    return all;
}

util::UniqueJSON makeServices(const std::map<std::string, std::string>& services) {
    util::UniqueJSON all = util::jsonObject();
    for (const auto& [name, state] : services) {
        util::addMember(all.get(), cli::validUTF8(name).c_str(), textItem(state));
    }
    return all;
}

util::UniqueJSON makePrograms(const std::vector<ProgramSetting>& programs) {
    util::UniqueJSON all = util::jsonArray();
    for (const ProgramSetting& program : programs) {
        util::UniqueJSON one = util::jsonObject();
        util::addMember(one.get(), "name", textItem(program.name));
        util::addMember(one.get(), "seconds", util::jsonNumber(program.seconds));
        util::addMember(one.get(), "status", util::jsonNumber(program.status));
        util::addElement(all.get(), std::move(one));
    }
    return all;
}

}  // namespace

FrameStatus readStatus(const FrameRoot& tree) {
    return {std::string(simulation::readProduct(tree).name),
            simulation::readBond(tree),
            simulation::readPower(tree),
            readServices(tree),
            tree.filesSetAside(),
            simulation::programSettings(tree),
            splitLines(tree.read(simulation::paths::kCommands))};
}

void keepLastCalls(FrameStatus& status, uint64_t count) {
    auto& calls = status.calls;
    const auto omitted = calls.size() - std::min<uint64_t>(count, calls.size());
    calls.erase(calls.begin(), calls.end() - static_cast<ptrdiff_t>(calls.size() - omitted));
    status.omittedCalls += static_cast<size_t>(omitted);
}

std::string formatTable(const FrameStatus& status, size_t maxWidth) {
    cli::Table table({"WHAT", {"NAME", 16}, {"STATE", 16}});
    size_t number = status.omittedCalls;
    for (const std::string& call : status.calls) {
        table.add({"call", std::to_string(++number), cli::escapeForTerminal(call)});
    }
    table.add({"product", "", status.product});
    addDevices(table, status);
    for (const auto& [name, state] : status.services) {
        table.add({"service", cli::escapeForTerminal(name), cli::escapeForTerminal(state)});
    }
    for (const ProgramSetting& program : status.programs) {
        table.add({"program", program.name, describeState(program)});
    }
    for (const std::string& path : status.missing) {
        table.add({"file", cli::escapeForTerminal(path), "missing"});
    }
    return table.text(false, maxWidth);
}

std::string formatJSON(const FrameStatus& status) {
    const util::UniqueJSON all = util::jsonObject();
    util::addMember(all.get(), "product", textItem(status.product));
    util::addMember(all.get(), "ports", makePorts(status.bond));
    util::addMember(all.get(), "power", makePower(status.power));
    util::addMember(all.get(), "services", makeServices(status.services));
    util::addMember(all.get(), "programs", makePrograms(status.programs));
    util::addMember(all.get(), "missing", textItems(status.missing));
    util::addMember(all.get(), "calls", textItems(status.calls));
    return util::renderJSON(all.get(), false) + "\n";
}

}  // namespace pallframe::doctor
