#include "systemstate/ethernet_interface_status.h"

#include <gtest/gtest.h>

namespace {

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

}  // namespace
