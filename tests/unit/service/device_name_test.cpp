#include "service/device_name.h"

#include <syslog.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/captured_log.h"
#include "systemstate/frame_root.h"
#include "systemstate/machine.h"

namespace pallwatch {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Line = CapturedLog::Line;

constexpr const char* kMac = "001122334455";

std::string labelIn(const std::string& text, const std::string& mac = kMac) {
    const util::UniqueJSON labels = util::parseJSON(text.data(), text.size());
    return findDeviceLabel(labels.get(), mac);
}

TEST(FindDeviceLabel, PortThatContainsTheMacNamesTheDevice) {
    EXPECT_EQ(labelIn(R"([{"port": "eth0-001122334455", "label": "Studio 3"}])"), "Studio 3");
}

TEST(FindDeviceLabel, MembersOfAnObjectAreWalkedLikeElementsOfAnArray) {
    EXPECT_EQ(labelIn(R"({"a": {"port": "eth0-aabbccddeeff", "label": "Other"},
                          "b": {"port": "001122334455", "label": "Ours", "slot": 4}})"),
              "Ours");
}

TEST(FindDeviceLabel, FirstNonEmptyLabelEndsTheWalk) {
    EXPECT_EQ(labelIn(R"([{"port": "001122334455"},
                          {"port": "001122334455", "label": ""},
                          {"port": "001122334455", "label": "First"},
                          {"port": "001122334455", "label": "Second"}])"),
              "First");
}

TEST(FindDeviceLabel, MembersThatAreNoTextsCountAsAbsent) {
    EXPECT_EQ(labelIn(R"([{"port": 1122334455, "label": "A"}, {"port": "001122334455", "label": 7},
                          {"port": null, "label": "B"}, "port", 3, null, []])"),
              "");
}

TEST(FindDeviceLabel, MemberNamesAreCaseSensitive) {
    EXPECT_EQ(labelIn(R"([{"Port": "001122334455", "label": "A"},
                          {"port": "001122334455", "Label": "B"}])"),
              "");
}

TEST(FindDeviceLabel, EmptyMacMatchesEveryPort) {
    EXPECT_EQ(labelIn(R"([{"label": "No port"}, {"port": "anything", "label": "Any"}])", ""),
              "Any");
}

TEST(FindDeviceLabel, TextThatIsNoJsonYieldsNoLabel) {
    EXPECT_EQ(labelIn("not json"), "");
    EXPECT_EQ(labelIn(""), "");
    EXPECT_EQ(labelIn("\"001122334455\""), "");
}

class SynchroniseDeviceName : public testing::Test {
  protected:
    void SetUp() override {
        root_.write("/sys/class/net/eth0/address", "00:11:22:33:44:55\n");
        root_.write("/vantor/app/tarna/node/deviceLabels.json",
                    R"([{"port": "eth0-001122334455", "label": "Studio 3"}])");
        root_.write("/vantor/etc/deviceName", "Old name");
    }

    systemstate::FrameRoot root_;
    systemstate::Machine machine_{root_.path()};
    CapturedLog log_;
};

TEST_F(SynchroniseDeviceName, RewritesADifferentNameWithoutLineEndAndLogsBoth) {
    EXPECT_EQ(synchroniseDeviceName(machine_), "Studio 3");
    EXPECT_EQ(root_.read("/vantor/etc/deviceName"), "Studio 3");
    EXPECT_THAT(log_.lines(),
                ElementsAre(Line{LOG_INFO,
                                 "*DEBUG* Update UI Device Name: old[Old name] new[Studio 3]\n"}));
}

TEST_F(SynchroniseDeviceName, NameThatAlreadyHoldsTheLabelIsNotRewritten) {
    root_.write("/vantor/etc/deviceName", "Studio 3\nsecond line stays");
    EXPECT_EQ(synchroniseDeviceName(machine_), "Studio 3");
    EXPECT_EQ(root_.read("/vantor/etc/deviceName"), "Studio 3\nsecond line stays");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(SynchroniseDeviceName, ComparisonIsCaseSensitive) {
    root_.write("/vantor/etc/deviceName", "studio 3");
    synchroniseDeviceName(machine_);
    EXPECT_EQ(root_.read("/vantor/etc/deviceName"), "Studio 3");
}

TEST_F(SynchroniseDeviceName, MissingNameFileCountsAsEmptyAndIsWritten) {
    root_.remove("/vantor/etc/deviceName");
    synchroniseDeviceName(machine_);
    EXPECT_EQ(root_.read("/vantor/etc/deviceName"), "Studio 3");
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(Line{LOG_INFO, "*DEBUG* Update UI Device Name: old[] new[Studio 3]\n"}));
}

TEST_F(SynchroniseDeviceName, WithoutLabelsTheNameFileStaysAsItIs) {
    root_.remove("/vantor/app/tarna/node/deviceLabels.json");
    EXPECT_EQ(synchroniseDeviceName(machine_), "");
    EXPECT_EQ(root_.read("/vantor/etc/deviceName"), "Old name");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(SynchroniseDeviceName, WithoutMacTheFirstLabelledPortIsTaken) {
    root_.remove("/sys/class/net/eth0/address");
    root_.write("/vantor/app/tarna/node/deviceLabels.json",
                R"([{"port": "eth7", "label": "Anyone"}])");
    EXPECT_EQ(synchroniseDeviceName(machine_), "Anyone");
}

TEST_F(SynchroniseDeviceName, LabelCannotForgeALineOfTheLog) {
    root_.write("/vantor/app/tarna/node/deviceLabels.json",
                R"([{"port": "eth0-001122334455", "label": "A]\n<129>forged"}])");
    synchroniseDeviceName(machine_);
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(Line{
            LOG_INFO, "*DEBUG* Update UI Device Name: old[Old name] new[A]\\x0a<129>forged]\n"}));
}

TEST_F(SynchroniseDeviceName, LabelCannotReachTheLogAsAFormat) {
    root_.write("/vantor/app/tarna/node/deviceLabels.json",
                R"([{"port": "001122334455", "label": "%s%n"}])");
    EXPECT_EQ(synchroniseDeviceName(machine_), "%s%n");
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(Line{LOG_INFO, "*DEBUG* Update UI Device Name: old[Old name] new[%s%n]\n"}));
}

TEST_F(SynchroniseDeviceName, FailedRewriteIsLoggedAndTheLabelStillUsed) {
    root_.remove("/vantor/etc/deviceName");
    root_.write("/vantor/etc/deviceName/in-the-way", "");
    EXPECT_EQ(synchroniseDeviceName(machine_), "Studio 3");
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_EQ(log_.lines()[0].priority, LOG_ERR);
    EXPECT_EQ(log_.lines()[0].text,
              "Error writing " + root_.path() + "/vantor/etc/deviceName - Is a directory\n");
}

}  // namespace

}  // namespace pallwatch
