#include "pallctl/network/network_plan.h"

#include <gmock/gmock.h>

namespace pallctl {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

systemstate::NetworkSettings settings(const char* ip, const char* netmask, const char* gateway) {
    return {parseAddress(ip).value(), parseAddress(netmask).value(), parseAddress(gateway).value()};
}

const systemstate::NetworkSettings kUsual = settings("10.1.2.3", "255.255.255.0", "10.1.2.1");

std::vector<std::string> options(const std::vector<const NetworkMember*>& members) {
    std::vector<std::string> texts;
    for (const NetworkMember* member : members) {
        texts.emplace_back(member->option);
    }
    return texts;
}

TEST(NetworkAddress, IsFourOctets) {
    EXPECT_EQ(parseAddress("10.1.2.3"), 0x0A010203u);
    EXPECT_EQ(parseAddress("255.255.255.254"), 0xFFFFFFFEu);
    for (const char* text : {"", "10.1.2", "10.1.2.3.4", "10.1.2.256", "10.1..3", "10.1.2.3 ",
                             " 10.1.2.3", "167772163", "frame", "10.1.2.3/24", "0x0a.1.2.3"}) {
        EXPECT_EQ(parseAddress(text), std::nullopt) << text;
    }
    EXPECT_EQ(parseAddress(std::string("10.1.2.3\0x", 10)), std::nullopt);
}

TEST(NetworkAddress, IsNoneOfTheTwoThatTheDaemonTakesForNone) {
    EXPECT_EQ(parseAddress("0.0.0.0"), std::nullopt);
    EXPECT_EQ(parseAddress("255.255.255.255"), std::nullopt);
}

TEST(NetworkWish, LeavesWhatItDoesNotSay) {
    EXPECT_EQ(merge(kUsual, {}), kUsual);
    EXPECT_EQ(merge(kUsual, {0, 0, 0x0A0102FEu}),
              settings("10.1.2.3", "255.255.255.0", "10.1.2.254"));
    const systemstate::NetworkSettings other = settings("10.9.0.3", "255.255.0.0", "10.9.0.1");
    EXPECT_EQ(merge(kUsual, other), other);
}

TEST(NetworkDifferences, AreThoseToSendWithTheAddressLast) {
    EXPECT_THAT(findDifferences(kUsual, kUsual), IsEmpty());
    EXPECT_THAT(options(findDifferences(kUsual, settings("10.9.0.3", "255.255.0.0", "10.9.0.1"))),
                ElementsAre("--netmask", "--gateway", "--address"));
    EXPECT_THAT(options(findDifferences(kUsual, settings("10.1.2.4", "255.255.255.0", "10.1.2.1"))),
                ElementsAre("--address"));
}

struct Case {
    const char* ip;
    const char* netmask;
    const char* gateway;
    const char* problem;
};

class NetworkReachability : public testing::TestWithParam<Case> {};

TEST_P(NetworkReachability, IsTheFirstReasonAgainstTheSettings) {
    const Case& one = GetParam();
    EXPECT_EQ(findReachabilityProblem(settings(one.ip, one.netmask, one.gateway)), one.problem);
}

constexpr const char* kReserved = "is the network or broadcast address";
const std::string kAddressIsNetwork = std::string("--address 10.1.2.0: ") + kReserved;
const std::string kAddressIsBroadcast = std::string("--address 10.1.2.255: ") + kReserved;
const std::string kGatewayIsBroadcast = std::string("--gateway 10.1.2.255: ") + kReserved;

const Case kCases[] = {
    {"10.1.2.3", "255.255.255.0", "10.1.2.1", ""},
    {"10.1.2.255", "255.255.0.0", "10.1.3.0", ""},
    {"10.1.2.2", "255.255.255.254", "10.1.2.3", ""},
    {"10.1.2.3", "128.0.0.0", "99.0.0.1", ""},
    {"10.1.2.3", "255.0.255.0", "10.1.2.1", "--netmask 255.0.255.0: has zeros before ones"},
    {"10.1.2.3", "0.0.0.255", "10.1.2.1", "--netmask 0.0.0.255: has zeros before ones"},
    {"224.0.0.1", "255.255.255.0", "224.0.0.2",
     "--address 224.0.0.1: is not the address of a host"},
    {"127.0.0.1", "255.255.255.0", "127.0.0.2",
     "--address 127.0.0.1: is not the address of a host"},
    {"0.1.2.3", "255.255.255.0", "0.1.2.1", "--address 0.1.2.3: is not the address of a host"},
    {"10.1.2.0", "255.255.255.0", "10.1.2.1", kAddressIsNetwork.c_str()},
    {"10.1.2.255", "255.255.255.0", "10.1.2.1", kAddressIsBroadcast.c_str()},
    {"10.1.2.3", "255.255.255.0", "10.1.3.1",
     "--gateway 10.1.3.1: is not in the network of the address"},
    {"10.1.2.3", "255.255.255.0", "10.1.2.255", kGatewayIsBroadcast.c_str()},
    {"10.1.2.3", "255.255.255.0", "10.1.2.3",
     "--gateway 10.1.2.3: is the address of the frame itself"},
};

INSTANTIATE_TEST_SUITE_P(To, NetworkReachability, testing::ValuesIn(kCases));

}  // namespace
}  // namespace pallctl
