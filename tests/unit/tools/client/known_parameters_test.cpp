#include "client/known_parameters.h"

#include <algorithm>
#include <iterator>
#include <set>

#include <gmock/gmock.h>

#include "systemstate/catalogue.h"

namespace client {
namespace {

Descriptor ofCatalogue(const std::string& name) {
    for (Descriptor& descriptor : knownDescriptors()) {
        if (descriptor.name == name) {
            return descriptor;
        }
    }
    return {};
}

TEST(KnownParameters, AreSettingsReadingsAndSerialPortsInTheOrderOfTheCatalogue) {
    const std::vector<std::string> names = knownParameterNames();
    ASSERT_EQ(names.size(), systemstate::catalogue().size());
    for (size_t i = 0; i < names.size(); ++i) {
        EXPECT_EQ(names[i], systemstate::catalogue()[i].key);
    }
    EXPECT_EQ(names.front(), "system.frameName");
    EXPECT_EQ(names[5], "system.ipAddress");
    EXPECT_EQ(names.back(), "system.serial2");
    EXPECT_EQ(std::set(names.begin(), names.end()).size(), names.size());
}

TEST(KnownParameters, SayWhatTheDaemonWouldSay) {
    const Descriptor ssh = ofCatalogue("system.sshEnabled");
    EXPECT_EQ(ssh.label, "SSH Server");
    EXPECT_EQ(ssh.type, "INT32");
    EXPECT_FALSE(ssh.readOnly);
    EXPECT_EQ(ssh.constraint, "INT_CHOICE");
    ASSERT_EQ(ssh.choices.size(), 2u);
    EXPECT_EQ(ssh.choices[1].value, 1);
    EXPECT_EQ(ssh.choices[1].name, "Enabled");

    const Descriptor voltage = ofCatalogue("system.psu1Voltage");
    EXPECT_EQ(voltage.type, "FLOAT");
    EXPECT_TRUE(voltage.readOnly);
    EXPECT_EQ(voltage.precision, 2);
    EXPECT_EQ(voltage.constraint, "");

    EXPECT_TRUE(isAddress(ofCatalogue("system.ipAddress")));
    EXPECT_EQ(ofCatalogue("system.serial0").type, "STRUCT");
    EXPECT_EQ(ofCatalogue("system.serial0").label, "COM1");
}

TEST(KnownParameters, AreCommandsOrSettings) {
    EXPECT_TRUE(isCommand("system.restartNetwork"));
    EXPECT_TRUE(isCommand("frameB.system.generateReport"));
    EXPECT_FALSE(isCommand("system.sshEnabled"));
    EXPECT_FALSE(isCommand("player.generateReport"));
}

}  // namespace
}  // namespace client
