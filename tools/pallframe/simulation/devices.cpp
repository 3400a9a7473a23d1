#include "pallframe/simulation/devices.h"

#include <sstream>

#include "pallframe/simulation/frame_paths.h"

namespace pallframe::simulation {

namespace {

// A device goes on while its file is missing, so the file is there with the present state when it
// comes back.
void update(const FrameRoot& tree, std::string_view path, const std::string& text) {
    tree.replace(tree.whereKept(path), text);
}

// Changes one member of the power state.
template <typename Value>
void setPower(const FrameRoot& tree, Value Power::*member, Value value) {
    const FrameLock lock(tree);
    Power power = readPower(tree);
    power.*member = value;
    storePower(tree, power);
}

}  // namespace

const Product& readProduct(const FrameRoot& tree) {
    const Product* product = findProduct(tree.read(paths::kProduct));
    if (product == nullptr) {
        throw FrameError(tree.path("/").string() + " is not a simulated frame");
    }
    return *product;
}

Bond readBond(const FrameRoot& tree) {
    return parseBond(tree.read(tree.whereKept(paths::kBond)));
}

Power readPower(const FrameRoot& tree) {
    return parsePower(tree.read(paths::kPower));
}

void storeBond(const FrameRoot& tree, const Bond& bond) {
    update(tree, paths::kBond, renderBond(bond, true));
    if (readProduct(tree).tessara) {
        update(tree, paths::kBondCopy, renderBond(bond, false));
    }
}

void storePower(const FrameRoot& tree, const Power& power) {
    tree.replace(paths::kPower, renderPower(power));
    const Product& product = readProduct(tree);
    if (product.hasXADC) {
        update(tree, paths::kRegisters, renderRegisters(power, product.battery));
    }
}

void setCable(const FrameRoot& tree, std::string_view interface, bool up) {
    const FrameLock lock(tree);
    Bond bond = readBond(tree);
    if (!setLink(bond, interface, up)) {
        throw FrameError("this frame has no interface '" + std::string(interface) + "'");
    }
    storeBond(tree, bond);
}

bool swapActivePort(const FrameRoot& tree, std::string_view interface) {
    const FrameLock lock(tree);
    Bond bond = readBond(tree);
    if (!makeActive(bond, interface)) {
        return false;
    }
    storeBond(tree, bond);
    return true;
}

void setSupply(const FrameRoot& tree, int number, double volts) {
    if (number != 1 && number != 2) {
        throw FrameError("this frame has no supply " + std::to_string(number));
    }
    setPower(tree, number == 1 ? &Power::psu1 : &Power::psu2, volts);
}

void setBattery(const FrameRoot& tree, double volts) {
    setPower(tree, &Power::battery, volts);
}

void setBatteryLoad(const FrameRoot& tree, bool on) {
    setPower(tree, &Power::loaded, on);
}

void editLine(const FrameRoot& tree, std::string_view path, std::string_view line) {
    const FrameLock lock(tree);
    const std::string file = tree.whereKept(path);
    const std::string_view key = line.substr(0, line.find('=') + 1);
    std::istringstream before(tree.read(file));
    std::string text;
    bool replaced = false;
    for (std::string each; std::getline(before, each);) {
        const bool isIt = each.starts_with(key);
        replaced = replaced || isIt;
        text.append(isIt ? line : each).append("\n");
    }
    tree.replace(file, replaced ? text : text.append(line).append("\n"));
}

}  // namespace pallframe::simulation
