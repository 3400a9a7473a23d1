#include "pallframe/simulation/xadc.h"

#include <cstdlib>

#include <gtest/gtest.h>

using namespace pallframe::simulation;

namespace {

// The places and scales at which the card's daemon reads the dump.
constexpr size_t kPSU1 = 131;
constexpr size_t kPSU2 = 131 + 8 * 8;
constexpr size_t kChannel13 = 131 + 8 * 13;
constexpr size_t kDedicated = 27;

const BatteryInput& findInput(const char* product) {
    return findProduct(product)->battery;
}

double readingAt(const std::string& dump, size_t byte) {
    return static_cast<double>(std::strtol(dump.c_str() + byte, nullptr, 16) >> 4);
}

std::string loadedDump(const char* product, double battery) {
    Power power;
    power.battery = battery;
    power.loaded = true;
    return renderRegisters(power, findInput(product));
}

TEST(Xadc, ADumpIsLongEnoughToBeRead) {
    EXPECT_GE(renderRegisters({}, findInput("Quorane")).size(), 264U);
}

TEST(Xadc, EveryRegisterIsALineOfEightBytes) {
    const std::string dump = renderRegisters({}, findInput("Quorane"));
    ASSERT_EQ(dump.size() % 8, 0U);
    for (size_t i = 0; i < dump.size(); i += 8) {
        EXPECT_EQ(dump[i + 2], ':');
        EXPECT_EQ(dump[i + 7], '\n');
    }
    EXPECT_EQ(dump.substr(0, 3), "00:");
    EXPECT_EQ(dump.substr(128, 3), "10:");
}

TEST(Xadc, HalfScaleIsFourteenAndAHalfVolts) {
    Power power;
    power.psu1 = 14.55;
    power.psu2 = 0;
    const std::string dump = renderRegisters(power, findInput("Quorane"));
    EXPECT_EQ(readingAt(dump, kPSU1), 2048);
    EXPECT_EQ(readingAt(dump, kPSU2), 0);
}

TEST(Xadc, SuppliesAreExactToTheSecondDigit) {
    Power power;
    power.psu2 = 11.9;
    const std::string dump = renderRegisters(power, findInput("Quorane"));
    EXPECT_NEAR(readingAt(dump, kPSU2) / 4096 * 29.1, 11.9, 0.004);
}

TEST(Xadc, SupplyAndTemperatureRegistersArePlausible) {
    const std::string dump = renderRegisters({}, findInput("Quorane"));
    EXPECT_EQ(readingAt(dump, 11), 1366);
    EXPECT_NEAR(readingAt(dump, 3) * 503.975 / 4096 - 273.15, 40.0, 0.1);
}

TEST(Xadc, EachProductReadsItsBatteryBack) {
    const std::string quorane = loadedDump("Quorane", 3.1);
    EXPECT_NEAR((readingAt(quorane, kChannel13) / 4096 + 0.6133) * 2.73448, 3.1, 0.001);
    const std::string tessara = loadedDump("Tessara", 3.1);
    EXPECT_NEAR(readingAt(tessara, kDedicated) / 4096 * 3.21, 3.1, 0.001);
    const std::string keli = loadedDump("KELI", 3.1);
    EXPECT_NEAR(readingAt(keli, kDedicated) / 4096 * 3.38, 3.1, 0.001);
}

TEST(Xadc, TheBatteryIsOnOneInputOnly) {
    EXPECT_EQ(readingAt(loadedDump("Quorane", 3.1), kDedicated), 0);
    EXPECT_EQ(readingAt(loadedDump("KELI", 3.1), kChannel13), 0);
}

TEST(Xadc, WithoutLoadTheBatteryReadsHigher) {
    Power power;
    power.battery = 2.5;
    const std::string dump = renderRegisters(power, findInput("Tessara"));
    EXPECT_NEAR(readingAt(dump, kDedicated) / 4096 * 3.21, 2.5 + kNoLoadGain, 0.001);
}

TEST(Xadc, NoBatteryReadsZeroWithAndWithoutLoad) {
    Power power;
    power.battery = 0;
    for (const char* product : {"Quorane", "Tessara", "KELI"}) {
        const std::string idle = renderRegisters(power, findInput(product));
        EXPECT_EQ(idle, loadedDump(product, 0)) << product;
        EXPECT_EQ(readingAt(idle, kDedicated) + readingAt(idle, kChannel13), 0) << product;
    }
}

TEST(Xadc, VoltsBeyondTheScaleReadAsItsEnd) {
    Power power;
    power.psu1 = 1000;
    power.psu2 = -5;
    const std::string dump = renderRegisters(power, findInput("Quorane"));
    EXPECT_EQ(readingAt(dump, kPSU1), 4095);
    EXPECT_EQ(readingAt(dump, kPSU2), 0);
}

TEST(Xadc, PowerComesBackFromItsNote) {
    const Power power{11.9, 0, 2.875, true};
    EXPECT_EQ(renderPower(power), "psu1=11.900\npsu2=0.000\nbattery=2.875\nloaded=1\n");
    EXPECT_EQ(parsePower(renderPower(power)), power);
}

TEST(Xadc, ANoteThatSaysNothingIsAGoodSupply) {
    EXPECT_EQ(parsePower(""), Power{});
    EXPECT_EQ(parsePower("psu1=\nbattery=x\nloaded=0\n"), Power{});
}

}  // namespace
