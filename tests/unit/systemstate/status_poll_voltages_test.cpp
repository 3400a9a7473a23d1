// The supplies and the battery.

#include <algorithm>

#include <gmock/gmock.h>

#include "poll_fixture.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "xadc_dump_samples.h"

namespace systemstate {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

constexpr const char* kLoadOn = "/sbin/devmem 0x8aa00014 32 0x01";
constexpr const char* kLoadOff = "/sbin/devmem 0x8aa00014 32 0x00";

class VoltagesTest : public PollFixture {
  protected:
    // A device that has had its first poll; the next one samples the battery.
    void startBeforeSample(const std::string& product) {
        root_.write(kNetworkFile, "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
        start(product);
        poll();
        takeDiary();
    }
};

TEST_F(VoltagesTest, RawSupplyOf2048Is14Volts55) {
    root_.write(kXadcFile, dumpWith(kChannel0At, "8000"));
    startBeforeSample("Quorane");
    EXPECT_THAT(pollDiary(), Contains("NOT system.psu1Voltage=14.550000"));
}

TEST_F(VoltagesTest, SecondSupplyIsChannel8) {
    root_.write(kXadcFile, dumpWith(kChannel8At, "8000"));
    startBeforeSample("Quorane");
    EXPECT_THAT(pollDiary(), Contains("NOT system.psu2Voltage=14.550000"));
}

TEST_F(VoltagesTest, SuppliesAreSmoothedFromTheSecondReadOn) {
    startBeforeSample("Quorane");
    root_.write(kXadcFile, dumpWith(kChannel0At, "8000"));
    poll();
    root_.write(kXadcFile, dumpWith(kChannel0At, "0000"));
    // (3 x 2048 + 0) / 4 = 1536, 1536 / 4096 x 29.1
    EXPECT_THAT(pollDiary(), Contains("NOT system.psu1Voltage=10.912500"));
}

TEST_F(VoltagesTest, SteadySuppliesAreAnnouncedOnce) {
    root_.write(kXadcFile, kDump);
    startBeforeSample("Quorane");
    poll();
    EXPECT_THAT(pollDiary(), IsEmpty());
}

struct BatteryCase {
    const char* name;
    const char* product;
    const char* channel13;
    const char* dedicatedInput;
    const char* volts;
};

class Battery : public VoltagesTest, public testing::WithParamInterface<BatteryCase> {};

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

TEST_F(VoltagesTest, BatteryIsReadUnderLoad) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    poll();
    EXPECT_THAT(takeDiary(),
                ElementsAre("6 Battery Sample = ON\n", kLoadOn, "pause of 25 ms", kLoadOff,
                            "6 Battery Sample = OFF\n", "6 sec[0]  ADC CHAN 13=3584\n",
                            "NOT system.battVoltage=4.069727", StartsWith("NOT system.psu1"),
                            StartsWith("NOT system.psu2")));
}

TEST_F(VoltagesTest, BatteryIsSampledOnOnePollIn151) {
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

TEST_F(VoltagesTest, BatteryKeepsItsVoltageBetweenSamples) {
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

TEST_F(VoltagesTest, CommandThatCannotBeStartedIsPrinted) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    machine_->setResult(kBatteryLoadOn, -1);
    machine_->setResult(kBatteryLoadOff, -2);
    CaptureStdout();
    poll();
    EXPECT_EQ(GetCapturedStdout(), "system returned -1\nsystem returned -2\nBATT 4.069727\n");
}

TEST_F(VoltagesTest, CommandThatFailsIsNotPrinted) {
    root_.write(kXadcFile, dumpWith(kChannel13At, "e000"));
    startBeforeSample("Quorane");
    machine_->setResult(kBatteryLoadOn, 256);
    machine_->setResult(kBatteryLoadOff, 256);
    CaptureStdout();
    poll();
    EXPECT_EQ(GetCapturedStdout(), "BATT 4.069727\n");
}

TEST_F(VoltagesTest, MissingDumpFromTheBeginningReadsAsZeros) {
    startBeforeSample("Quorane");
    CaptureStderr();
    CaptureStdout();
    poll(2);
    EXPECT_EQ(GetCapturedStderr(),
              "open xadc: No such file or directory\nopen xadc: No such file or directory\n");
    EXPECT_EQ(GetCapturedStdout(), "BATT 0.000000\n");
    EXPECT_THAT(takeDiary(),
                ElementsAre("6 Battery Sample = ON\n", kLoadOn, "pause of 25 ms", kLoadOff,
                            "6 Battery Sample = OFF\n", "6 sec[0]  ADC CHAN 13=0\n",
                            "NOT system.battVoltage=0.000000"));
    EXPECT_EQ(value(kPsu1VoltageKey), "0.000000");
    EXPECT_EQ(value(kPsu2VoltageKey), "0.000000");
}

TEST_F(VoltagesTest, DumpThatGoesMissingKeepsTheVoltages) {
    root_.write(kXadcFile, dumpWith(kChannel0At, "8000"));
    startBeforeSample("Quorane");
    poll();
    root_.remove(kXadcFile);
    CaptureStderr();
    EXPECT_THAT(pollDiary(), IsEmpty());
    EXPECT_THAT(GetCapturedStderr(), StartsWith("open xadc: "));
    EXPECT_EQ(value(kPsu1VoltageKey), "14.550000");
}

class UnusableDump : public VoltagesTest {
  protected:
    // One poll with this dump after one with a supply of 14.55 V.
    void expectNoChangeBy(const std::string& dump) {
        root_.write(kXadcFile, dumpWith(kChannel0At, "8000"));
        startBeforeSample("Quorane");
        poll();
        root_.write(kXadcFile, dump);
        EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("NOT"))));
        EXPECT_EQ(value(kPsu1VoltageKey), "14.550000");
    }
};

TEST_F(UnusableDump, ThatIsShortChangesNothing) {
    CaptureStderr();
    expectNoChangeBy(kDump.substr(0, 263));
    EXPECT_EQ(GetCapturedStderr(), "xadc read too small\n");
}

TEST_F(UnusableDump, ThatHasATextWithoutDigitsChangesNothing) {
    for (const std::size_t offset : {kTemperatureAt, kSupplyAt, kChannel13At, kChannel15At}) {
        expectNoChangeBy(dumpWith(offset, registerText("zz")));
    }
}

TEST_F(UnusableDump, FromTheBeginningReadsAsZeros) {
    for (const std::string& dump : {kDump.substr(0, 263), dumpWith(kChannel15At, "----")}) {
        root_.write(kXadcFile, dump);
        startBeforeSample("KELI");
        CaptureStderr();
        EXPECT_THAT(pollDiary(), Contains("NOT system.battVoltage=0.000000"));
        GetCapturedStderr();
        EXPECT_EQ(value(kPsu1VoltageKey), "0.000000");
    }
}

TEST_F(UnusableDump, ThatIsADirectoryIsTooSmall) {
    root_.write("/sys/devices/amba.1/f8007100.xadc/registers/x", "");
    startBeforeSample("Quorane");
    CaptureStderr();
    EXPECT_THAT(pollDiary(), Contains("NOT system.battVoltage=0.000000"));
    EXPECT_EQ(GetCapturedStderr(), "xadc read too small\n");
}

TEST_F(VoltagesTest, BatteryIsSampledFromThePreviousSamplesWithoutADump) {
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

TEST_F(VoltagesTest, GarbledDumpChangesNothingAndIsLoggedOnce) {
    constexpr const char* kGarbled =
        "3 /sys/devices/amba.1/f8007100.xadc/registers holds no register dump, "
        "readings stay as they are\n";
    root_.write(kXadcFile, kDump);
    startBeforeSample("Quorane");
    poll();
    root_.write(kXadcFile, dumpWith(kChannel15At, "----"));
    EXPECT_THAT(pollDiary(), ElementsAre(kGarbled));
    EXPECT_THAT(pollDiary(), IsEmpty());
    root_.write(kXadcFile, kDump);
    EXPECT_THAT(pollDiary(), IsEmpty());
    root_.write(kXadcFile, dumpWith(kChannel15At, "----"));
    EXPECT_THAT(pollDiary(), ElementsAre(kGarbled));
}

TEST_F(VoltagesTest, FirstGoodDumpAfterBadOnesIsNotSmoothed) {
    root_.write(kXadcFile, "no dump");
    startBeforeSample("Quorane");
    CaptureStderr();
    poll(3);
    GetCapturedStderr();
    root_.write(kXadcFile, dumpWith(kChannel0At, "8000"));
    EXPECT_THAT(pollDiary(), Contains("NOT system.psu1Voltage=14.550000"));
}

TEST_F(VoltagesTest, SupplyRegisterOfZeroPublishesNothingOdd) {
    root_.write(kXadcFile, dumpWith(kSupplyAt, "0000").replace(kChannel0At, 4, "8000"));
    startBeforeSample("Quorane");
    const std::vector<std::string> diary = pollDiary();
    EXPECT_THAT(diary, Contains("NOT system.psu1Voltage=14.550000"));
    EXPECT_THAT(diary, Not(Contains(HasSubstr("inf"))));
}

}  // namespace

}  // namespace systemstate
