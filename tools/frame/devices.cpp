#include "frame/devices.h"

#include <sstream>

#include "frame/paths.h"

namespace frame {

namespace {

// A device goes on while its file is missing, so the file is there with the present state when it
// comes back.
void update(const Tree& tree, std::string_view path, const std::string& text) {
    tree.replace(tree.whereKept(path), text);
}

}  // namespace

const Product& productOf(const Tree& tree) {
    const Product* product = findProduct(tree.read(paths::kProduct));
    if (product == nullptr) {
        throw BadRequest(tree.path("/").string() + " is no simulated frame");
    }
    return *product;
}

Bond bondOf(const Tree& tree) {
    return parseBond(tree.read(tree.whereKept(paths::kBond)));
}

Power powerOf(const Tree& tree) {
    return parsePower(tree.read(paths::kPower));
}

void storeBond(const Tree& tree, const Bond& bond) {
    update(tree, paths::kBond, renderBond(bond, true));
    if (productOf(tree).tessara) {
        update(tree, paths::kBondCopy, renderBond(bond, false));
    }
}

void storePower(const Tree& tree, const Power& power) {
    tree.replace(paths::kPower, renderPower(power));
    const Product& product = productOf(tree);
    if (product.hasXADC) {
        update(tree, paths::kRegisters, renderRegisters(power, product.battery));
    }
}

void setCable(const Tree& tree, std::string_view interface, bool up) {
    const TreeLock lock(tree);
    Bond bond = bondOf(tree);
    if (!setLink(bond, interface, up)) {
        throw BadRequest("this frame has no interface '" + std::string(interface) + "'");
    }
    storeBond(tree, bond);
}

bool swapActivePort(const Tree& tree, std::string_view interface) {
    const TreeLock lock(tree);
    Bond bond = bondOf(tree);
    if (!makeActive(bond, interface)) {
        return false;
    }
    storeBond(tree, bond);
    return true;
}

void setSupply(const Tree& tree, int number, double volts) {
    if (number != 1 && number != 2) {
        throw BadRequest("this frame has no supply " + std::to_string(number));
    }
    const TreeLock lock(tree);
    Power power = powerOf(tree);
    (number == 1 ? power.psu1 : power.psu2) = volts;
    storePower(tree, power);
}

void setBattery(const Tree& tree, double volts) {
    const TreeLock lock(tree);
    Power power = powerOf(tree);
    power.battery = volts;
    storePower(tree, power);
}

void editLine(const Tree& tree, std::string_view path, std::string_view line) {
    const TreeLock lock(tree);
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

void setBatteryLoad(const Tree& tree, bool on) {
    const TreeLock lock(tree);
    Power power = powerOf(tree);
    power.loaded = on;
    storePower(tree, power);
}

}  // namespace frame
