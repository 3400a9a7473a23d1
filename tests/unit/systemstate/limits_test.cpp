#include "systemstate/limits.h"

#include <gtest/gtest.h>

#include "systemstate/param_keys.h"

namespace systemstate {
namespace {

const Limits* limitsOf(const char* key) {
    return findLimits(*findRow(key));
}

TEST(Limits, SuppliesHaveTheTolerancesOfTwelveVolts) {
    for (const char* key : {kPsu1VoltageKey, kPsu2VoltageKey}) {
        const Limits* const limits = limitsOf(key);
        ASSERT_NE(limits, nullptr) << key;
        EXPECT_DOUBLE_EQ(limits->usual.low, 12 * 0.95);
        EXPECT_DOUBLE_EQ(limits->usual.high, 12 * 1.05);
        EXPECT_DOUBLE_EQ(limits->tolerated.low, 12 * 0.9);
        EXPECT_DOUBLE_EQ(limits->tolerated.high, 12 * 1.1);
        EXPECT_STREQ(limits->unit, "V");
    }
}

TEST(Limits, MissingBatteryIsCriticalAndAGoodOneUsual) {
    const Limits* const limits = limitsOf(kBattVoltageKey);
    ASSERT_NE(limits, nullptr);
    EXPECT_TRUE(limits->usual.contains(3.1));
    EXPECT_FALSE(limits->usual.contains(2.4));
    EXPECT_TRUE(limits->tolerated.contains(2.4));
    EXPECT_FALSE(limits->tolerated.contains(0));
    EXPECT_TRUE(limits->tolerated.contains(5)) << "has no upper end";
}

TEST(Limits, PortsWithALinkAreUsualAndOthersAreNotCritical) {
    for (const char* key : {"system.ethPort1Status", "system.ethPort2Status"}) {
        const Limits* const limits = limitsOf(key);
        ASSERT_NE(limits, nullptr) << key;
        for (const int status : {0, 1, 2, 3}) {
            EXPECT_EQ(limits->usual.contains(status), status == 1 || status == 2) << status;
            EXPECT_TRUE(limits->tolerated.contains(status)) << status;
        }
    }
}

TEST(Limits, TheUsualRangeIsWithinTheTolerated) {
    for (const CatalogueRow& row : catalogue()) {
        if (const Limits* const limits = findLimits(row)) {
            EXPECT_TRUE(limits->tolerated.contains(limits->usual.low)) << row.key;
            EXPECT_TRUE(limits->tolerated.contains(limits->usual.high)) << row.key;
        }
    }
}

TEST(Limits, SettingsHaveNone) {
    EXPECT_EQ(limitsOf(kIpAddressKey), nullptr);
    EXPECT_EQ(limitsOf("system.serial0"), nullptr);
}

}  // namespace
}  // namespace systemstate
