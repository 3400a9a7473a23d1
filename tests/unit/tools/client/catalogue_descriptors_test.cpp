#include "client/catalogue_descriptors.h"

#include <algorithm>
#include <iterator>

#include <gmock/gmock.h>

#include "client/catalogue_names.h"

namespace pallctl {
namespace {

Descriptor ofCatalogue(const std::string& name) {
    for (Descriptor& descriptor : catalogueDescriptors()) {
        if (descriptor.name == name) {
            return descriptor;
        }
    }
    return {};
}

TEST(CatalogueDescriptors, AreThoseOfTheNamesInTheirOrder) {
    std::vector<std::string> names;
    for (const Descriptor& descriptor : catalogueDescriptors()) {
        names.push_back(descriptor.name);
    }
    EXPECT_EQ(names, catalogueNames());
}

TEST(CatalogueDescriptors, SayWhatTheDaemonWouldSay) {
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

}  // namespace
}  // namespace pallctl
