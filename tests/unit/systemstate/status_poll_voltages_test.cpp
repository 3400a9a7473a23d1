// The supplies, and dumps that are missing or unusable.

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

class VoltagesTest : public PollFixture {};

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
