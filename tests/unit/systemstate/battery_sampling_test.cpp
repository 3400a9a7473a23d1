// The battery, sampled by the polls of a device.

#include "systemstate/battery_sampling.h"

#include <gmock/gmock.h>

#include "poll_fixture.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "xadc_dump_samples.h"

namespace systemstate {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

class BatterySamplingTest : public PollFixture {};

struct BatteryCase {
    const char* name;
    const char* product;
    const char* channel13;
    const char* dedicatedInput;
    const char* volts;
};

class Battery : public BatterySamplingTest, public testing::WithParamInterface<BatteryCase> {};

TEST_P(Battery, IsMeasuredByProduct) {
    root_.write(kXadcFile, dumpWith(kDedicatedInputAt, GetParam().dedicatedInput)
                               .replace(kChannel13At, 4, GetParam().channel13));
    startBeforeSample(GetParam().product);
    CaptureStdout();
    poll();
    EXPECT_EQ(GetCapturedStdout(), std::string("BATT ") + GetParam().volts + "\n");
    EXPECT_EQ(value(kBattVoltageKey), GetParam().volts);
}

// 0xe000 is 3584 of 4096: 0.875 of full scale.
INSTANTIATE_TEST_SUITE_P(
    Products, Battery,
    testing::Values(BatteryCase{"Tessara", "Tessara", "0000", "e000", "2.808750"},
                    BatteryCase{"Tessara5ru", "Tessara-5ru", "0000", "e000", "2.808750"},
                    BatteryCase{"Keli", "KELI", "0000", "e000", "2.957500"},
                    BatteryCase{"KeliInAnyCase", "keli", "0000", "e000", "2.957500"},
                    BatteryCase{"Quorane", "Quorane", "e000", "0000", "4.069727"},
                    BatteryCase{"AnyOther", "Something", "e000", "0000", "4.069727"},
                    BatteryCase{"RawZeroOnQuorane", "Quorane", "0000", "e000", "0.000000"},
                    BatteryCase{"RawZeroOnTessara", "Tessara", "e000", "0000", "0.000000"}),
    [](const auto& row) { return row.param.name; });

TEST_F(BatterySamplingTest, BatteryIsReadUnderLoad) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    poll();
    EXPECT_THAT(takeDiary(),
                ElementsAre("6 Battery Sample = ON\n", kLoadOn, "pause of 25 ms", kLoadOff,
                            "6 Battery Sample = OFF\n", "6 sec[0]  ADC CHAN 13=3584\n",
                            "NOT system.battVoltage=4.069727", StartsWith("NOT system.psu1"),
                            StartsWith("NOT system.psu2")));
}

TEST_F(BatterySamplingTest, BatteryIsSampledOnOnePollIn151) {
    root_.write(kXadcFile, kDump);
    startBeforeSample("Quorane");
    poll(1);
    EXPECT_THAT(takeDiary(), Contains(kLoadOn));
    poll(150);
    EXPECT_THAT(takeDiary(), IsEmpty());
    poll(1);
    EXPECT_THAT(takeDiary(), Contains(kLoadOn));
    poll(150);
    EXPECT_THAT(takeDiary(), IsEmpty());
    poll(1);
    EXPECT_THAT(takeDiary(), Contains(kLoadOn));
}

TEST_F(BatterySamplingTest, BatteryKeepsItsVoltageBetweenSamples) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    poll();
    root_.write(kXadcFile, dumpWith(kChannel13At, "f000"));
    poll(150);
    EXPECT_EQ(value(kBattVoltageKey), "4.069727");
    // 0.9375 + 0.6133 = 1.5508, x 2.73448; the reading is not smoothed
    poll(1);
    EXPECT_EQ(value(kBattVoltageKey), "4.240632");
}

TEST_F(BatterySamplingTest, CommandThatCannotBeStartedIsPrinted) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    machine_->setResult(kBatteryLoadOn, -1);
    machine_->setResult(kBatteryLoadOff, -2);
    CaptureStdout();
    poll();
    EXPECT_EQ(GetCapturedStdout(), "system returned -1\nsystem returned -2\nBATT 4.069727\n");
}

TEST_F(BatterySamplingTest, CommandThatFailsIsNotPrinted) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    machine_->setResult(kBatteryLoadOn, 256);
    machine_->setResult(kBatteryLoadOff, 256);
    CaptureStdout();
    poll();
    EXPECT_EQ(GetCapturedStdout(), "BATT 4.069727\n");
}

TEST_F(BatterySamplingTest, BatteryIsSampledFromThePreviousSamplesWithoutADump) {
    startBeforeSample("Quorane");
    CaptureStderr();
    poll();
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    poll(150);
    EXPECT_EQ(value(kBattVoltageKey), "0.000000") << "not sampled again yet";
    poll();
    EXPECT_EQ(value(kBattVoltageKey), "4.069727");
    root_.remove(kXadcFile);
    poll(151);
    GetCapturedStderr();
    EXPECT_EQ(value(kBattVoltageKey), "4.069727") << "from the previous samples";
}

}  // namespace

}  // namespace systemstate
