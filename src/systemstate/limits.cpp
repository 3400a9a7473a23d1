#include "systemstate/limits.h"

#include <algorithm>
#include <iterator>

namespace systemstate {

namespace {

constexpr Limits kLimits[] = {
    {Quantity::supplyVoltage,
     {11.4, 12.6},
     {10.8, 13.2},
     "V",
     "the supplies deliver 12 V: 5 %, the tolerance of 12 V supplies, and 10 %"},
    {Quantity::batteryVoltage,
     {2.5, 3.4},
     {2.0, kUnlimited},
     "V",
     "a lithium cell of 3 V: new at most 3.4 V, nearly empty at 2.5 V under load; below 2 V the "
     "daemon publishes 0, no battery"},
    {Quantity::portStatus, {1, 2}, {}, "", "1 and 2 are the statuses of a port with a link"},
};

}  // namespace

const Limits* findLimits(const CatalogueRow& row) {
    const auto* const found = std::ranges::find(kLimits, row.quantity, &Limits::quantity);
    return found == std::end(kLimits) ? nullptr : found;
}

}  // namespace systemstate
