#include "systemstate/ethernet_ports.h"

#include <gmock/gmock.h>

#include "recording_machine.h"
#include "support/captured_log.h"
#include "systemstate/product.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Line = CapturedLog::Line;

TEST(EthernetPorts, AreTwoAndDown) {
    const EthernetPorts ports = makeEthernetPorts();
    ASSERT_EQ(ports.size(), 2U);
    EXPECT_EQ(ports[0].interfaceName, "eth0");
    EXPECT_EQ(ports[0].index, 0);
    EXPECT_EQ(ports[0].status.get(), PortStatus::linkDown);
    EXPECT_EQ(ports[0].label, "Port 1");
    EXPECT_EQ(ports[1].interfaceName, "eth1");
    EXPECT_EQ(ports[1].index, 1);
    EXPECT_EQ(ports[1].status.get(), PortStatus::linkDown);
    EXPECT_EQ(ports[1].label, "Port 2");
}

TEST(EthernetPorts, TitleIsTheLabelOrElseTheInterfaceName) {
    EXPECT_STREQ(portTitle({"eth0", "Port 1"}), "Port 1");
    EXPECT_STREQ(portTitle({"eth0", ""}), "eth0");
}

TEST(EthernetPorts, WithoutAnActiveOneTheActiveIndexIsZero) {
    EthernetPorts ports = makeEthernetPorts();
    ports[1].status.set(PortStatus::linkUp);
    EXPECT_EQ(activePortIndex(ports), 0);
}

TEST(EthernetPorts, ActiveIndexIsThatOfTheLastActivePort) {
    EthernetPorts ports = makeEthernetPorts();
    ports[0].status.set(PortStatus::active);
    EXPECT_EQ(activePortIndex(ports), 0);
    ports[1].status.set(PortStatus::active);
    EXPECT_EQ(activePortIndex(ports), 1);
}

TEST(EthernetPorts, StatusKeysCountFromOne) {
    EXPECT_EQ(portStatusKey(0), "system.ethPort1Status");
    EXPECT_EQ(portStatusKey(1), "system.ethPort2Status");
}

TEST(PortStatus, NumbersAreThoseThatClientsKnow) {
    EXPECT_EQ(static_cast<int>(PortStatus::linkDown), 0);
    EXPECT_EQ(static_cast<int>(PortStatus::active), 1);
    EXPECT_EQ(static_cast<int>(PortStatus::linkUp), 2);
    EXPECT_EQ(static_cast<int>(PortStatus::other), 3);
}

class PortSwap : public testing::Test {
  protected:
    bool swap(const char* product, std::size_t position) {
        return swapActivePort(machine, Product(product), makeEthernetPorts()[position]);
    }

    RecordingMachine machine{""};
    CapturedLog log;
};

TEST_F(PortSwap, QuoraneTellsTheBondWhichPortToUse) {
    EXPECT_TRUE(swap("Quorane", 0));
    EXPECT_TRUE(swap("Quorane", 1));
    EXPECT_THAT(machine.take(), ElementsAre("/sbin/ifenslave --change-active bond0 eth0",
                                            "/sbin/ifenslave --change-active bond0 eth1"));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(PortSwap, ResultOfTheCommandIsNotLookedAt) {
    machine.setFirstLine("/sbin/ifenslave --change-active bond0 eth1", std::nullopt);
    EXPECT_TRUE(swap("Quorane", 1));
}

TEST_F(PortSwap, OtherProductsAreRefused) {
    EXPECT_FALSE(swap("Tessara", 1));
    EXPECT_FALSE(swap("QuoraneBrio", 1));
    EXPECT_FALSE(swap("KELI", 1));
    EXPECT_THAT(machine.take(), IsEmpty());
    EXPECT_THAT(
        log.take(),
        ElementsAre(Line{LOG_ERR, "Active ethernet port swapover not supported on Tessara\n"},
                    Line{LOG_ERR, "Active ethernet port swapover not supported on QuoraneBrio\n"},
                    Line{LOG_ERR, "Active ethernet port swapover not supported on KELI\n"}));
}

TEST_F(PortSwap, NameCountsInItsCase) {
    EXPECT_FALSE(swap("quorane", 1));
    EXPECT_THAT(machine.take(), IsEmpty());
    EXPECT_THAT(
        log.take(),
        ElementsAre(Line{LOG_ERR, "Active ethernet port swapover not supported on quorane\n"}));
}

TEST_F(PortSwap, NameIsLoggedWithAtMost32Characters) {
    EXPECT_FALSE(swap("0123456789abcdef0123456789ABCDEF!", 1));
    EXPECT_THAT(log.take(), ElementsAre(Line{LOG_ERR,
                                             "Active ethernet port swapover not supported on "
                                             "0123456789abcdef0123456789ABCDEF\n"}));
}

TEST_F(PortSwap, WithoutAProductItIsRefusedToo) {
    EXPECT_FALSE(swap("", 1));
    EXPECT_THAT(machine.take(), IsEmpty());
    EXPECT_THAT(
        log.take(),
        ElementsAre(Line{
            LOG_ERR, "Active ethernet port swapover not supported - product not specified.\n"}));
}

}  // namespace

}  // namespace systemstate
