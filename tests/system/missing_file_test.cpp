// Files and programs that are missing or unusable: what stays as it was, and what is said.

#include <cstring>

#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace paths = pallframe::simulation::paths;

namespace {

constexpr const char* kConverterMissing = "open xadc: No such file or directory\n";
constexpr std::size_t kFirstSupplyAt = 131;
constexpr const char* kConverterShort = "xadc read too small\n";

class Missing : public OnProduct {
  protected:
    explicit Missing(std::string_view name = "KELI") : OnProduct(name) {}

    void waitForPorts() { waitForAnnouncement("ethPort2Status", "2"); }

    // Sees a poll come and go by a cable.
    void waitForAPoll() {
        pallframe::simulation::setCable(frame.tree(), "eth1", cable_ = !cable_);
        waitForAnnouncement("ethPort2Status", cable_ ? "2" : "0");
    }

    void expectLogWithout(const std::string& part) {
        EXPECT_THAT(log.linesUntilNow(),
                    Each(testing::Field(&LogLine::text, Not(HasSubstr(part)))));
    }

  private:
    bool cable_ = true;
};

class MissingBond : public Missing, public testing::WithParamInterface<const char*> {
  protected:
    MissingBond() : Missing(GetParam()) {}

    std::string_view file = onTessaraFrame(product) ? paths::kBondCopy : paths::kBond;
};

INSTANTIATE_TEST_SUITE_P(On, MissingBond, testing::Values("Quorane", "Tessara"),
                         [](const auto& one) { return identifierOf(one.param); });

TEST_P(MissingBond, LeavesThePortsAsTheyAre) {
    hide(file);
    startAndSettle();
    waitForAnnouncement("battVoltage");
    EXPECT_EQ(valueOf("ethPort1Status"), "0");
    expectLogWithout("ETHERNET");
    show(file);
    waitForPorts();
    frame.write(file, "Currently Active Slave: eth1\n\nSlave Interface: eth0\nMII Status: down\n");
    pallframe::simulation::setSupply(frame.tree(), 1, 6);
    waitForAnnouncement("psu1Voltage");
    waitForAnnouncement("psu1Voltage");
    EXPECT_EQ(valueOf("ethPort1Status"), "1") << "too few blocks";
    EXPECT_EQ(daemon->error().text(), "");
}

class MissingConverter : public Missing {
  protected:
    // From the second poll on: samples that begin as zeros.
    void expectVoltagesOfZero() {
        EXPECT_EQ(waitForAnnouncement("battVoltage"), "0");
        daemon->output().waitFor("\nBATT 0.000000\n");
        EXPECT_EQ(valueOf("psu1Voltage"), "0");
        EXPECT_EQ(valueOf("psu2Voltage"), "0");
    }
};

TEST_F(MissingConverter, IsToldOfEachTimeAndTheVoltagesAreZero) {
    hide(paths::kRegisters);
    startAndSettle();
    expectVoltagesOfZero();
    EXPECT_EQ(log.waitFor("sec[0]"), info("sec[0]  ADC CHAN 13=0\n"));
    daemon->error().waitFor(std::string(kConverterMissing) + kConverterMissing);
    show(paths::kRegisters);
    waitForAnnouncement("psu1Voltage", "11.9994873046875");
    EXPECT_EQ(valueOf("battVoltage"), "0") << "sampled again in 150 polls";
}

TEST_F(MissingConverter, ThatIsCutShortIsToldOfToo) {
    const std::string dump = frame.read(paths::kRegisters);
    hide(paths::kRegisters);
    frame.write(paths::kRegisters, dump.substr(0, 263));
    startAndSettle();
    expectVoltagesOfZero();
    daemon->error().waitFor(std::string(kConverterShort) + kConverterShort);
}

TEST_F(MissingConverter, ThatIsGarbledIsToldOfOnceInTheLog) {
    hide(paths::kRegisters);
    frame.write(paths::kRegisters, std::string(600, 'x'));
    startAndSettle();
    EXPECT_EQ(log.waitFor("registers").priority, error("").priority);
    expectVoltagesOfZero();
    waitForAPoll();
    waitForAPoll();
    EXPECT_THROW(log.waitFor("registers", Deadline(std::chrono::milliseconds(0))), TimedOut);
    EXPECT_EQ(daemon->error().text(), "");
}

// A register's text is read as strtol(3) does in base 16.
TEST_F(Missing, DigitsInARegisterLeaveTheVoltagesAsTheyAreUntilThereAreSome) {
    std::string dump = frame.read(paths::kRegisters);
    startAndSettle();
    EXPECT_EQ(waitForAnnouncement("psu1Voltage"), "11.9994873046875");
    hide(paths::kRegisters);
    frame.write(paths::kRegisters, dump.replace(kFirstSupplyAt, 5, "zz\n\n\n"));
    EXPECT_EQ(log.waitFor("registers").priority, error("").priority);
    EXPECT_EQ(valueOf("psu1Voltage"), "11.9994873046875");
    frame.write(paths::kRegisters, dump.replace(kFirstSupplyAt, 5, "0x1ag"));
    // (3 x 1689 + 1) / 4 = 1267
    EXPECT_DOUBLE_EQ(std::stod(waitForAnnouncement("psu1Voltage")), 1267 * 29.1 / 4096);
}

struct RegisterCase {
    const char* name;
    const char* text;  // from the first digit of a supply on
    int sample;
};

class RegisterText : public Missing, public testing::WithParamInterface<RegisterCase> {};

// The first sample is the reading as it is, and the same reading leaves it so.
TEST_P(RegisterText, IsConvertedWithinItsFiveCharacters) {
    const auto& [name, text, sample] = GetParam();
    std::string dump = frame.read(paths::kRegisters);
    hide(paths::kRegisters);
    frame.write(paths::kRegisters, dump.replace(kFirstSupplyAt, std::strlen(text), text));
    startAndSettle();
    EXPECT_DOUBLE_EQ(std::stod(waitForAnnouncement("psu1Voltage")), sample * 29.1 / 4096);
}

// The lowest four bits are cut off: -0x1a0f is -6671, and -6671 / 16 rounded down is -417.
INSTANTIATE_TEST_SUITE_P(All, RegisterText,
                         testing::Values(RegisterCase{"Sign", "-1a0f", -417},
                                         RegisterCase{"Blanks", "  fff", 0xff},
                                         RegisterCase{"DigitsOfTheNextRegister", "800012", 0x8000}),
                         [](const auto& one) { return std::string(one.param.name); });

TEST_F(Missing, DevmemLeavesTheBatteryWithoutItsLoad) {
    frame.remove("/sbin/devmem");
    pallframe::simulation::setBattery(frame.tree(), 2.8);
    startAndSettle();
    EXPECT_NEAR(std::stod(waitForAnnouncement("battVoltage")), 3.05, 3.38 / 4096);
    daemon->error().waitFor("devmem");
}

TEST_F(Missing, BuildInformationIsSaidInTheVersion) {
    silencePoll();
    hide(paths::kBuild);
    startAndSettle();
    EXPECT_EQ(valueOf("version"), "\"read error\"");
}

class MissingOnQuorane : public Missing {
  protected:
    MissingOnQuorane() : Missing("Quorane") { hide(paths::kRegisters); }
};

TEST_F(MissingOnQuorane, IfenslaveLeavesThePortsAsTheyAre) {
    frame.remove("/sbin/ifenslave");
    startAndSettle();
    waitForPorts();
    mark();
    set(R"({"activeEthernet":1})");
    waitForAnnouncement("activeEthernet", "1");
    bus.waitFor("RSP", "system");
    daemon->error().waitFor("ifenslave");
    waitForAPoll();
    EXPECT_EQ(valueOf("ethPort1Status"), "1");
    EXPECT_EQ(valueOf("activeEthernet"), "1") << "what was asked for";
    EXPECT_THAT(newCommands(), IsEmpty());
}

// Everything that is read while the daemon runs, at once: it goes on, and comes back with the
// files.
TEST_F(Missing, EverythingLeavesTheDaemonServing) {
    silencePoll();
    hide(paths::kNetwork);
    hide(paths::kBuild);
    hide(paths::kAddress);
    startAndSettle();
    daemon->error().waitFor(kConverterMissing);
    EXPECT_EQ(valueOf("ipAddress"), "0");
    EXPECT_EQ(valueOf("ethPort1Status"), "0");
    for (const std::string_view path : {paths::kBond, paths::kRegisters, paths::kNetwork}) {
        show(path);
    }
    waitForPorts();
    waitForAnnouncement("psu2Voltage");
    EXPECT_EQ(valueOf("ipAddress"), "167772165");
}

}  // namespace
