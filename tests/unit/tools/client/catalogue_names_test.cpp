#include "client/catalogue_names.h"

#include <set>

#include <gmock/gmock.h>

namespace pallctl {
namespace {

TEST(CatalogueNames, ListsSettingsReadingsAndSerialPortsInTheOrderOfBuilding) {
    const std::vector<std::string> names = catalogueNames();
    ASSERT_EQ(names.size(), 5u + 28u + 3u);
    EXPECT_EQ(names.front(), "system.frameName");
    EXPECT_EQ(names[5], "system.ipAddress");
    EXPECT_EQ(names[32], "system.secondaryVersion");
    EXPECT_EQ(names.back(), "system.serial2");
    EXPECT_EQ(std::set(names.begin(), names.end()).size(), names.size());
}

}  // namespace
}  // namespace pallctl
