#include "pallframe/simulation/product.h"

#include <strings.h>

#include <algorithm>
#include <array>

namespace pallframe::simulation {

namespace {

constexpr BatteryInput kTessaraBattery{3.21, 0.0, true};
constexpr BatteryInput kKeliBattery{3.38, 0.0, true};
constexpr BatteryInput kControllerBattery{2.73448, 0.6133, false};

constexpr std::array<Product, 5> kProducts{{
    {"Quorane", false, -1, true, kControllerBattery},
    {"Tessara", true, 2, true, kTessaraBattery},
    {"Tessara-5ru", true, 5, true, kTessaraBattery},
    {"QuoraneBrio", false, -1, false, kControllerBattery},
    {"KELI", false, -1, true, kKeliBattery},
}};

bool sameName(std::string_view one, std::string_view other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace

std::span<const Product> products() {
    return kProducts;
}

const Product* findProduct(std::string_view name) {
    const auto* found = std::find_if(kProducts.begin(), kProducts.end(),
                                     [name](const Product& p) { return sameName(p.name, name); });
    return found == kProducts.end() ? nullptr : found;
}

std::string productNames() {
    std::string names;
    for (const Product& product : kProducts) {
        names.append(names.empty() ? "" : ", ").append(product.name);
    }
    return names;
}

}  // namespace pallframe::simulation
