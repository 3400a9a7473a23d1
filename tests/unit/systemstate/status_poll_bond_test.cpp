// The bonded ports.

#include <new>

#include <gmock/gmock.h>

#include "poll_fixture.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"

namespace systemstate {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kPort1 = "system.ethPort1Status";
constexpr const char* kPort2 = "system.ethPort2Status";

class BondTest : public PollFixture {
  protected:
    BondTest() {
        // The settings are in place, so that the diary shows the ports only.
        root_.write(kNetworkFile, "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    }

    // The next poll sees this bond. Further polls are of no interest here: the first one leaves the
    // voltages out.
    std::vector<std::string> pollBond(const std::string& active, const std::string& eth0,
                                      const std::string& eth1) {
        root_.write(kBondingFile, bondingFile(active, eth0, eth1));
        return portLines(pollDiary());
    }

    static std::vector<std::string> portLines(const std::vector<std::string>& diary) {
        std::vector<std::string> lines;
        for (const std::string& line : diary) {
            if (line.find("thernet") != std::string::npos || line.starts_with("NOT system.eth") ||
                line.starts_with("6 ETH") || line.starts_with("3 ")) {
                lines.push_back(line);
            }
        }
        return lines;
    }
};

TEST_F(BondTest, FirstPortActiveAndSecondDown) {
    start("Quorane");
    EXPECT_THAT(pollBond("eth0", "up", "down"),
                ElementsAre("6 ETHERNET STATUS CHANGED : eth0, was:0, now:1\n",
                            "NOT system.ethPort1Status=1"));
    EXPECT_EQ(value(kPort1), "1");
    EXPECT_EQ(value(kPort2), "0");
    EXPECT_EQ(value(kActiveEthernetKey), "0");
}

TEST_F(BondTest, BothPortsUpAreOneChangeLineEach) {
    start("Quorane");
    EXPECT_THAT(pollBond("eth0", "up", "up"),
                ElementsAre("6 ETHERNET STATUS CHANGED : eth0, was:0, now:1\n",
                            "NOT system.ethPort1Status=1",
                            "6 ETHERNET STATUS CHANGED : eth1, was:0, now:2\n",
                            "NOT system.ethPort2Status=2"));
}

TEST_F(BondTest, ActiveSlaveMovesToTheSecondPort) {
    start("Quorane");
    pollBond("eth0", "up", "up");
    EXPECT_THAT(pollBond("eth1", "up", "up"),
                ElementsAre("6 ETHERNET STATUS CHANGED : eth0, was:1, now:2\n",
                            "NOT system.ethPort1Status=2",
                            "6 ETHERNET STATUS CHANGED : eth1, was:2, now:1\n",
                            "NOT system.ethPort2Status=1", "NOT system.activeEthernet=1"));
}

TEST_F(BondTest, FollowingTheActiveSlaveSwapsNothing) {
    start("Quorane");
    pollBond("eth0", "up", "up");
    root_.write(kBondingFile, bondingFile("eth1", "up", "up"));
    EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("/sbin/ifenslave"))));
}

TEST_F(BondTest, UnchangedBondSaysNothing) {
    start("Quorane");
    pollBond("eth0", "up", "up");
    EXPECT_THAT(pollBond("eth0", "up", "up"), IsEmpty());
}

TEST_F(BondTest, FileOfAnyLengthIsFollowedThereAndBack) {
    start("Quorane");
    const std::string other = "\nOther: " + std::string(9000, 'x') + "\n";
    for (const std::string& end : {std::string(), other}) {
        root_.write(kBondingFile, bondingFile("eth0", "up", "down") + end);
        poll();
        EXPECT_EQ(value(kPort2), "0");
        root_.write(kBondingFile, bondingFile("eth0", "up", "up") + end);
        poll();
        EXPECT_EQ(value(kPort2), "2");
    }
}

TEST_F(BondTest, LostCableIsStatus0) {
    start("Quorane");
    pollBond("eth0", "up", "up");
    EXPECT_THAT(pollBond("eth1", "down", "up"),
                ElementsAre("6 ETHERNET STATUS CHANGED : eth0, was:1, now:0\n",
                            "NOT system.ethPort1Status=0",
                            "6 ETHERNET STATUS CHANGED : eth1, was:2, now:1\n",
                            "NOT system.ethPort2Status=1", "NOT system.activeEthernet=1"));
}

TEST_F(BondTest, AnyOtherMiiTextIsStatus3) {
    start("Quorane");
    pollBond("eth1", "going back", "up");
    EXPECT_EQ(value(kPort1), "3");
    EXPECT_EQ(value(kPort2), "1");
}

TEST_F(BondTest, ActiveSlaveThatIsNotUpDoesNotCountAsActive) {
    start("Quorane");
    pollBond("eth0", "going down", "down");
    EXPECT_EQ(value(kPort1), "3");
    pollBond("eth0", "down", "down");
    EXPECT_EQ(value(kPort1), "0");
}

TEST_F(BondTest, NoActiveSlaveLeavesTheActivePort) {
    start("Quorane");
    pollBond("eth1", "up", "up");
    pollBond("None", "down", "down");
    EXPECT_EQ(value(kPort2), "0");
    EXPECT_EQ(value(kActiveEthernetKey), "1");
}

TEST_F(BondTest, PortThatNoSlaveNamesKeepsItsStatus) {
    start("Quorane");
    pollBond("eth1", "down", "up");
    std::string file = bondingFile("eth1", "down", "down");
    file.replace(file.rfind("eth1"), 4, "eth7");
    root_.write(kBondingFile, file);
    EXPECT_THAT(portLines(pollDiary()), IsEmpty());
    EXPECT_EQ(value(kPort2), "1");
}

TEST_F(BondTest, OnlyPortsThatChangedAreLookedAt) {
    start("Quorane");
    pollBond("eth0", "up", "down");
    state_->parameters().setInteger(kActiveEthernetKey, 1);
    pollBond("eth0", "up", "up");
    EXPECT_EQ(value(kActiveEthernetKey), "1") << "eth0 was active before and did not change";
}

TEST_F(BondTest, TooFewBlocksChangeNothing) {
    start("Quorane");
    pollBond("eth0", "up", "up");
    std::string file = bondingFile("eth1", "down", "up");
    root_.write(kBondingFile, file.substr(0, file.rfind("\n\n")));
    EXPECT_THAT(portLines(pollDiary()), IsEmpty());
    root_.write(kBondingFile, "");
    EXPECT_THAT(portLines(pollDiary()), IsEmpty());
    EXPECT_EQ(value(kPort1), "1");
    EXPECT_EQ(value(kPort2), "2");
}

TEST_F(BondTest, MissingFileChangesNothing) {
    start("Quorane");
    pollBond("eth0", "up", "up");
    root_.remove(kBondingFile);
    EXPECT_THAT(portLines(pollDiary()), IsEmpty());
    EXPECT_EQ(value(kPort1), "1");
}

struct SourceCase {
    const char* name;
    const char* product;
    const char* port1;  // status when only the Tessara copy says that the first port is active
};

class BondSource : public PollFixture, public testing::WithParamInterface<SourceCase> {};

TEST_P(BondSource, IsChosenByProduct) {
    root_.write(kBondingFile, bondingFile("eth1", "up", "up"));
    root_.write(kTessaraBondingFile, tessaraBondingFile("eth0", "up", "up"));
    start(GetParam().product);
    poll();
    EXPECT_EQ(value(kPort1), GetParam().port1);
}

INSTANTIATE_TEST_SUITE_P(
    Products, BondSource,
    testing::Values(SourceCase{"Quorane", "Quorane", "2"}, SourceCase{"KELI", "KELI", "2"},
                    SourceCase{"Tessara", "Tessara", "1"},
                    SourceCase{"Tessara5ru", "Tessara-5ru", "1"},
                    SourceCase{"AnyCase", "tESSARA", "1"},
                    SourceCase{"OtherTessaraNeedsTheDriversBlock", "TessaraX", "0"},
                    SourceCase{"LettersElsewhere", "MyTessara", "2"}),
    [](const auto& row) { return row.param.name; });

TEST_F(BondTest, AnyNameWithTheTessaraLettersReadsTheCopy) {
    root_.write(kBondingFile, bondingFile("eth1", "up", "up"));
    root_.write(kTessaraBondingFile, bondingFile("eth0", "up", "up"));
    start("TessaraX");
    poll();
    EXPECT_EQ(value(kPort1), "1");
}

TEST_F(BondTest, TessaraCopyNeedsThreeBlocks) {
    start("Tessara");
    const std::string file = tessaraBondingFile("eth0", "up", "up");
    root_.write(kTessaraBondingFile, file.substr(0, file.rfind("\n\n")));
    poll();
    EXPECT_EQ(value(kPort1), "0");
    root_.write(kTessaraBondingFile, file);
    poll();
    EXPECT_EQ(value(kPort1), "1");
}

TEST_F(BondTest, DelaysThatAreNoIntegersAreLoggedOnlyWhenTheyChange) {
    start("Quorane");
    std::string file = bondingFile("eth0", "up", "down");
    file.replace(file.find("Up Delay (ms): 200"), 18, "Up Delay (ms): abc");
    root_.write(kBondingFile, file);
    EXPECT_THAT(pollDiary(),
                Contains("3 /proc/net/bonding/bond0: Up Delay (ms) is no integer: \"abc\"\n"));
    EXPECT_THAT(portLines(pollDiary()), IsEmpty());
    root_.write(kBondingFile, file.replace(file.find("Up Delay"), 8, "No Delay"));
    EXPECT_THAT(portLines(pollDiary()),
                ElementsAre("3 /proc/net/bonding/bond0: Up Delay (ms) is no integer: \"\"\n"));
    EXPECT_EQ(value(kPort1), "1");
}

TEST_F(BondTest, LongTextsReachTheLogShortened) {
    start("Quorane");
    std::string file = bondingFile("eth0", "up", "down");
    file.replace(file.find("Up Delay (ms): 200"), 18, "Up Delay (ms): %n" + std::string(9000, 'x'));
    root_.write(kBondingFile, file);
    EXPECT_THAT(pollDiary(),
                Contains("3 /proc/net/bonding/bond0: Up Delay (ms) is no integer: \"%n" +
                         std::string(62, 'x') + "\"\n"));
}

TEST_F(BondTest, ChangeThatATickDidNotComeToIsFoundByTheNextOne) {
    start("Quorane");
    root_.write(kBondingFile, bondingFile("eth0", "up", "up"));
    state_->setParamChanged_cb([](const ToskParam&) { throw std::bad_alloc(); });
    EXPECT_THROW(state_->poll(), std::bad_alloc);
    state_->setParamChanged_cb(nullptr);
    poll();
    EXPECT_EQ(value(kPort1), "1");
    EXPECT_EQ(value(kPort2), "2");
}

}  // namespace

}  // namespace systemstate
