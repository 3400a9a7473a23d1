// The network settings that other programs write.

#include <thread>
#include <utility>

#include <gmock/gmock.h>

#include "poll_fixture.h"
#include "systemstate/param_keys.h"
#include "systemstate/paths.h"
#include "util/json.h"

namespace systemstate {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;

constexpr const char* kSettings = "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";

constexpr const char* kMissing =
    "2 WARNING: void SystemState::get_net_settings(unsigned int*, unsigned int*, unsigned int*): "
    "vantor/etc/network.conf missing or unable to be opened\n";

class NetworkPoll : public PollFixture {
  protected:
    NetworkPoll() { root_.write(kNetworkFile, kSettings); }
};

TEST_F(NetworkPoll, SettingsThatTheCatalogueReadAreNoNews) {
    start("Quorane");
    EXPECT_THAT(pollDiary(), IsEmpty());
}

struct EditCase {
    const char* name;
    const char* ip;
    const char* netmask;
    const char* gateway;
    const char* announcement;
};

class NetworkEdit : public NetworkPoll, public testing::WithParamInterface<EditCase> {};

TEST_P(NetworkEdit, IsAnnouncedAndCheckedWithinOnePollAndNotApplied) {
    const std::string ip = GetParam().ip;
    const std::string netmask = GetParam().netmask;
    const std::string gateway = GetParam().gateway;
    const std::string file =
        "# by hand\nIPADDR=" + ip + "\nNETMASK=" + netmask + "\nGATEWAY=" + gateway + "\n";
    start("Quorane");
    poll(2);  // the second one reports the battery
    root_.write(kNetworkFile, file);
    EXPECT_THAT(pollDiary(),
                ElementsAre(GetParam().announcement,
                            "6 SystemState:config_ip: checking ifconfig ip=" + ip +
                                " sub=" + netmask + " gw=" + gateway + "...\n",
                            "6 ip address " + ip + "\n", "6 gateway_ip_address " + gateway + "\n",
                            "6 subnet_mask " + netmask + "\n", "6 no changes\n"));
    EXPECT_EQ(root_.read(kNetworkFile), file);
}

INSTANTIATE_TEST_SUITE_P(Keys, NetworkEdit,
                         testing::Values(EditCase{"Address", "10.0.0.6", "255.255.255.0",
                                                  "10.0.0.1", "NOT system.ipAddress=167772166"},
                                         EditCase{"Netmask", "10.0.0.5", "255.255.0.0", "10.0.0.1",
                                                  "NOT system.netmask=4294901760"},
                                         EditCase{"Gateway", "10.0.0.5", "255.255.255.0",
                                                  "10.0.0.9", "NOT system.gateway=167772169"}),
                         [](const auto& row) { return row.param.name; });

TEST_F(NetworkPoll, EditOfEverythingIsNotAppliedEither) {
    constexpr const char* kOther = "IPADDR=10.1.0.5\nNETMASK=255.0.0.0\nGATEWAY=10.1.0.1\n";
    start("Quorane");
    root_.write(kNetworkFile, kOther);
    EXPECT_THAT(
        pollDiary(),
        ElementsAre("NOT system.ipAddress=167837701",
                    "6 SystemState:config_ip: checking ifconfig ip=10.1.0.5 sub=255.255.255.0 "
                    "gw=10.0.0.1...\n",
                    "6 ip address 10.1.0.5\n", "6 gateway_ip_address 10.1.0.1\n",
                    "6 subnet_mask 255.0.0.0\n", "NOT system.netmask=4278190080",
                    "6 SystemState:config_ip: checking ifconfig ip=10.1.0.5 sub=255.0.0.0 "
                    "gw=10.0.0.1...\n",
                    "6 ip address 10.1.0.5\n", "6 gateway_ip_address 10.1.0.1\n",
                    "6 subnet_mask 255.0.0.0\n", "NOT system.gateway=167837697",
                    "6 SystemState:config_ip: checking ifconfig ip=10.1.0.5 sub=255.0.0.0 "
                    "gw=10.1.0.1...\n",
                    "6 ip address 10.1.0.5\n", "6 gateway_ip_address 10.1.0.1\n",
                    "6 subnet_mask 255.0.0.0\n", "6 no changes\n"));
    EXPECT_EQ(root_.read(kNetworkFile), kOther);
}

struct LossCase {
    const char* name;
    const char* file;
    const char* announcement;
    const char* error;
};

class NetworkLoss : public NetworkPoll, public testing::WithParamInterface<LossCase> {};

TEST_P(NetworkLoss, IsAnnouncedAndPrintsTheErrorOfASet) {
    start("Quorane");
    poll(2);
    root_.write(kNetworkFile, GetParam().file);
    testing::internal::CaptureStdout();
    const std::vector<std::string> diary = pollDiary();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), EndsWith(GetParam().error));
    EXPECT_THAT(diary, ElementsAre(GetParam().announcement));
    EXPECT_EQ(root_.read(kNetworkFile), GetParam().file);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, NetworkLoss,
    testing::Values(LossCase{"Address", "NETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n",
                             "NOT system.ipAddress=0",
                             "\tIP Error: ip=0, netmask=ffffff00, gateway=a000001\n"},
                    LossCase{"Gateway", "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\n",
                             "NOT system.gateway=0",
                             "\tIP Error: ip=a000005, netmask=ffffff00, gateway=0\n"}),
    [](const auto& row) { return row.param.name; });

// The gateway was set and not applied, so the parameters are valid where the file is not.
TEST_F(NetworkPoll, EditOfAnIncompleteFileFailsTheCheckOfASet) {
    root_.write(kNetworkFile, "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\n");
    start("Quorane");
    poll();
    state_->parameters().setInteger(kGatewayKey, 0x0A000001);
    takeDiary();
    root_.write(kNetworkFile, "IPADDR=10.0.0.6\nNETMASK=255.255.255.0\n");
    EXPECT_THAT(pollDiary(), IsSupersetOf({"NOT system.ipAddress=167772166",
                                           "6 SystemState:config_ip: checking ifconfig ip=10.0.0.6 "
                                           "sub=255.255.255.0 gw=10.0.0.1...\n",
                                           "4 SystemState: IP Address Check failed. Not Writing to "
                                           "network.conf.\n"}));
    EXPECT_EQ(root_.read(kNetworkFile), "IPADDR=10.0.0.6\nNETMASK=255.255.255.0\n");
}

TEST_F(NetworkPoll, FastEditsAreAnnouncedAsTheyAreSeen) {
    start("Quorane");
    poll();
    for (const char* address : {"10.0.0.6", "10.0.0.7", "10.0.0.5"}) {
        const std::string file =
            std::string("IPADDR=") + address + "\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";
        root_.write(kNetworkFile, file);
        const std::vector<std::string> diary = pollDiary();
        EXPECT_THAT(diary, Contains(StartsWith("NOT system.ipAddress=")));
        EXPECT_THAT(diary, Not(Contains(StartsWith("/etc/init.d"))));
        EXPECT_EQ(root_.read(kNetworkFile), file);
    }
}

TEST_F(NetworkPoll, MissingFileIsCriticalEachTimeAndPublishesZeros) {
    start("Quorane");
    poll();
    takeDiary();
    root_.remove(kNetworkFile);
    const std::vector<std::string> first = pollDiary();
    EXPECT_THAT(first, Contains(kMissing));
    EXPECT_THAT(first, Contains("NOT system.ipAddress=0"));
    EXPECT_THAT(first, Contains("NOT system.netmask=0"));
    EXPECT_THAT(first, Contains("NOT system.gateway=0"));
    const std::vector<std::string> second = pollDiary();
    EXPECT_THAT(second, Contains(kMissing));
    EXPECT_THAT(second, Not(Contains(StartsWith("NOT system.ipAddress"))));
}

TEST_F(NetworkPoll, MissingFromTheStartIsNoChange) {
    root_.remove(kNetworkFile);
    start("Quorane");
    EXPECT_THAT(pollDiary(), ElementsAre(kMissing));
}

TEST_F(NetworkPoll, SettingThatWasSetAndNotAppliedStays) {
    start("Quorane");
    poll();
    state_->parameters().setInteger(kIpAddressKey, 0);
    EXPECT_THAT(pollDiary(), Not(Contains(StartsWith("NOT system.ipAddress"))));
    EXPECT_EQ(value(kIpAddressKey), "0") << "the file says what it said before";
}

// Between two polls the device writes a new address, and another program puts the old one back.
TEST_F(NetworkPoll, EditThatUndoesASetIsSeen) {
    start("Quorane");
    poll();
    state_->findParam(kIpAddressKey)->setValueFromJSON(util::jsonNumber(0x0A000007).get());
    ASSERT_THAT(root_.read(kNetworkFile), testing::HasSubstr("IPADDR=10.0.0.7\n"));
    root_.write(kNetworkFile, kSettings);
    EXPECT_THAT(pollDiary(), Contains("NOT system.ipAddress=167772165"));
    EXPECT_EQ(root_.read(kNetworkFile), kSettings);
}

// The request is stored, and before it is applied another program edits the file and the poll
// comes.
class EditDuringASet : public NetworkPoll {
  protected:
    // Gives what the poll says of that.
    std::vector<std::string> editDuring(const char* key, uint32_t value) {
        start("Quorane");
        poll();
        std::vector<std::string> said;
        bool edited = false;
        state_->setParamChanged_cb([&](const ToskParam& param) {
            takeDiary();
            if (!std::exchange(edited, true)) {
                root_.write(kNetworkFile, kOtherAddress);
                std::thread([&] { said = pollDiary(); }).join();
            } else {
                said.push_back(param.oid().toString());
            }
        });
        state_->setFromRequest(*state_->findParam(key), util::jsonNumber(value).get());
        return said;
    }

    static constexpr const char* kOtherAddress =
        "IPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";
};

TEST_F(EditDuringASet, DoesNotReplaceWhatIsAskedFor) {
    EXPECT_THAT(editDuring(kIpAddressKey, 0x0A000007),
                Not(Contains(testing::HasSubstr("ipAddress"))));
    EXPECT_EQ(value(kIpAddressKey), "167772167");
    EXPECT_EQ(root_.read(kNetworkFile),
              "USE_DHCP=0\nIPADDR=10.0.0.7\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    poll();
    EXPECT_EQ(value(kIpAddressKey), "167772167");
}

TEST_F(EditDuringASet, OfAnotherParameterIsPublishedAtOnce) {
    editDuring("system.active", 0);
    EXPECT_EQ(value(kIpAddressKey), "167772166");
}

TEST_F(EditDuringASet, IsPublishedWhileTheNetworkRestarts) {
    start("Quorane");
    poll(2);
    std::vector<std::string> said;
    machine_->setOnCommand([&](const std::string& command) {
        if (command == "/etc/init.d/S40network restart") {
            root_.write(kNetworkFile, kOtherAddress);
            std::thread([&] { said = pollDiary(); }).join();
        }
    });
    state_->setFromRequest(*state_->findParam(kGatewayKey), util::jsonNumber(0x0A000002).get());
    EXPECT_THAT(said, IsSupersetOf({"NOT system.ipAddress=167772166",
                                    "NOT system.gateway=167772161", "6 no changes\n"}));
    EXPECT_EQ(root_.read(kNetworkFile), kOtherAddress);
}

TEST_F(NetworkPoll, EditAfterASetThatIsNotAppliedIsPublished) {
    start("Quorane");
    poll();
    for (const char* key : {kIpAddressKey, kNetmaskKey, kGatewayKey}) {
        state_->setFromRequest(*state_->findParam(key), util::jsonNumber(0).get());
    }
    root_.write(kNetworkFile, "IPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    EXPECT_THAT(pollDiary(), Contains("NOT system.ipAddress=167772166"));
}

}  // namespace

}  // namespace systemstate
