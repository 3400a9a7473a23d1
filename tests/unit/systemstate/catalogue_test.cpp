#include "systemstate/catalogue.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::ElementsAreArray;

struct ExpectedRow {
    const char* key;
    const char* name;
    const char* type;
    const char* widget;
    bool readonly;
    const char* choices;
    int32_t precision;
    bool published;
    const char* value;
};

constexpr ExpectedRow kIdentity[] = {
    {"system.frameName", "Frame Name", "STRING", "", false, "", -1, true, "KELI"},
    {"system.systemName", "System Name", "STRING", "", false, "", -1, true, "System"},
    {"system.active", "Active", "INT32", "", false, "", -1, true, "1"},
    {"system.quoraneProfilesEnabled", "Quo-Profiles", "INT32", "", false, "0 Disabled, 1 Enabled",
     -1, true, "0"},
    {"system.quoraneUsersEnabled", "Quo-Credentials", "INT32", "", false, "0 Disabled, 1 Enabled",
     -1, true, "1"},
};

constexpr ExpectedRow kMain[] = {
    {"system.ipAddress", "IP Address", "INT32", "WIDGET_IP_ADDRESS", false, "", -1, false,
     "167772165"},
    {"system.netmask", "IP Netmask", "INT32", "WIDGET_IP_ADDRESS", false, "", -1, false,
     "4294967040"},
    {"system.gateway", "Default Gateway", "INT32", "WIDGET_IP_ADDRESS", false, "", -1, false,
     "167772161"},
    {"system.version", "System Version", "STRING", "", true, "", -1, false, "4.2(1234)"},
    {"system.frameType", "Frame Type", "INT32", "", true, "", -1, false, "0"},
    {"system.ethPort1Status", "Port 1 Status", "INT32", "", true, "", -1, false, "0"},
    {"system.ethPort2Status", "Port 2 Status", "INT32", "", true, "", -1, false, "0"},
    {"system.activeEthernet", "Active Ethernet Port", "INT32", "", false, "0 Port 1, 1 Port 2", -1,
     true, "0"},
    {"system.psu1Voltage", "PSU 1 Voltage", "FLOAT", "", true, "", 2, false, "0.000000"},
    {"system.psu2Voltage", "PSU 2 Voltage", "FLOAT", "", true, "", 2, false, "0.000000"},
    {"system.battVoltage", "Battery Voltage", "FLOAT", "", true, "", 5, false, "-1.000000"},
    {"system.pcbRevision", "PCB Revision (RAW)", "INT32", "", true, "", -1, false, "0"},
    {"system.pcbIssue", "PCB Issue (RAW)", "INT32", "", true, "", -1, false, "0"},
    {"system.productId", "PCB Product ID (RAW)", "INT32", "", true, "", -1, false, "0"},
    {"system.sshEnabled", "SSH Server", "INT32", "", false, "0 Disabled, 1 Enabled", -1, true, "1"},
    {"system.ftpEnabled", "FTP Server", "INT32", "", false, "0 Disabled, 1 Enabled", -1, true, "1"},
    {"system.ambrixEnabled", "Ambrix", "INT32", "", false, "0 Disabled, 1 Enabled", -1, true, "1"},
    {"system.generateReport", "Generate Report", "INT32", "", false, "0 Cancel, 1 Apply", -1, true,
     "0"},
    {"system.restartNetwork", "Restart Network", "INT32", "", false, "0 Cancel, 1 Apply", -1, true,
     "0"},
    {"system.activeKeli", "Active KELI", "INT32", "", false, "0 primary, 1 secondary", -1, false,
     "1"},
    {"system.primaryIPAddress", "IP Address (Pri)", "STRING", "", true, "", -1, false, ""},
    {"system.primaryPresent", "Present (Pri)", "INT32", "", true, "0 false, 1 true", -1, false,
     "0"},
    {"system.primaryActive", "Active (Pri)", "INT32", "", true, "0 false, 1 true", -1, false, "0"},
    {"system.primaryVersion", "Version (Pri)", "STRING", "", true, "", -1, false, ""},
    {"system.secondaryIPAddress", "IP Address (Sec)", "STRING", "", true, "", -1, false, ""},
    {"system.secondaryPresent", "Present (Sec)", "INT32", "", true, "0 false, 1 true", -1, false,
     "0"},
    {"system.secondaryActive", "Active (Sec)", "INT32", "", true, "0 false, 1 true", -1, false,
     "0"},
    {"system.secondaryVersion", "Version (Sec)", "STRING", "", true, "", -1, false, ""},
};

std::vector<std::string> keysOf(std::span<const ExpectedRow> rows) {
    std::vector<std::string> keys;
    for (const ExpectedRow& row : rows) {
        keys.emplace_back(row.key);
    }
    return keys;
}

// Those of the keys that the rows have, in the order of the rows.
std::vector<std::string> keysIn(std::span<const CatalogueRow> rows,
                                const std::vector<std::string>& keys) {
    std::vector<std::string> found;
    for (const CatalogueRow& row : rows) {
        if (std::ranges::find(keys, row.key) != keys.end()) {
            found.emplace_back(row.key);
        }
    }
    return found;
}

// A row that is not expected here shows in the test of the page.
TEST(CatalogueOrder, OfBuilding) {
    const auto identity = rowsBuiltBy(Builder::identityGroup);
    const auto main = rowsBuiltBy(Builder::mainCatalogue);
    EXPECT_THAT(keysIn(identity, keysOf(kIdentity)), ElementsAreArray(keysOf(kIdentity)));
    EXPECT_THAT(keysIn(main, keysOf(kMain)), ElementsAreArray(keysOf(kMain)));
    EXPECT_EQ(identity.data(), catalogue().data());
    EXPECT_EQ(main.data(), identity.data() + identity.size());
    EXPECT_EQ(rowsBuiltBy(Builder::serialPorts).data(), main.data() + main.size());
}

TEST(Catalogue, EachKeyHasOneRow) {
    for (const CatalogueRow& row : catalogue()) {
        EXPECT_EQ(findRow(row.key), &row) << row.key;
    }
    EXPECT_EQ(findRow("system.nothing"), nullptr);
}

// Each row as a device shows it that was started without a state file.
class CatalogueRowTest : public SystemStateTest, public testing::WithParamInterface<ExpectedRow> {
  protected:
    CatalogueRowTest() {
        root.write("/etc/build.prop", "VERSION=4.2\nPROJECT_SVN=1234\n");
        boot("KELI");
    }
};

// "0 Disabled, 1 Enabled"
std::string choicesOf(const ToskParam& param) {
    std::string text;
    if (param.constraint() == nullptr) {
        return text;
    }
    const auto& constraint = dynamic_cast<const ToskIntegerChoiceConstraint&>(*param.constraint());
    for (const ToskIntegerChoiceConstraint::Choice& choice : constraint.choices()) {
        text += (text.empty() ? "" : ", ") + std::to_string(choice.value) + ' ' + choice.name;
    }
    return text;
}

TEST_P(CatalogueRowTest, AttributesAndInitialValue) {
    const ToskParam* const param = state->findParam(GetParam().key);
    ASSERT_NE(param, nullptr);
    EXPECT_EQ(param->oid(), ToskOID(GetParam().key, 1));
    EXPECT_EQ(param->name(), GetParam().name);
    EXPECT_STREQ(valueTypeName(param->type()), GetParam().type);
    EXPECT_EQ(param->widget(), GetParam().widget);
    EXPECT_EQ(param->readonly(), GetParam().readonly);
    EXPECT_EQ(choicesOf(*param), GetParam().choices);
    EXPECT_EQ(param->precision(), GetParam().precision);
    EXPECT_EQ(param->maxlength(), -1);
    EXPECT_EQ(param->totallength(), -1);
    EXPECT_EQ(param->published(), GetParam().published);
    EXPECT_EQ(param->valueToString(), GetParam().value);
}

TEST_P(CatalogueRowTest, ValueIsOfTheTypesOwnKind) {
    const ToskParam* const param = state->findParam(GetParam().key);
    ASSERT_NE(param->value(), nullptr);
    EXPECT_EQ(param->value()->type(), param->type());
}

TEST_P(CatalogueRowTest, EveryChangeIsHeard) {
    EXPECT_EQ(state->findParam(GetParam().key)->listener(), state.get());
}

std::string leafOf(const testing::TestParamInfo<ExpectedRow>& info) {
    return std::string(info.param.key).substr(7);
}

INSTANTIATE_TEST_SUITE_P(Identity, CatalogueRowTest, testing::ValuesIn(kIdentity), leafOf);
INSTANTIATE_TEST_SUITE_P(Main, CatalogueRowTest, testing::ValuesIn(kMain), leafOf);

using CatalogueTest = SystemStateTest;

TEST_F(CatalogueTest, DeviceHoldsNothingElse) {
    boot();
    EXPECT_EQ(state->device()->params().size(), catalogue().size());
}

TEST_F(CatalogueTest, SerialParametersAreBuiltLastAndTraced) {
    boot();
    EXPECT_EQ(bootOutput,
              "addSerialStatusParams oid=system.serial0\n"
              "addSerialStatusParams oid=system.serial1\n"
              "addSerialStatusParams oid=system.serial2\n");
    for (const char* const key : {"system.serial0", "system.serial1", "system.serial2"}) {
        ASSERT_NE(state->findParam(key), nullptr);
        EXPECT_EQ(state->findParam(key)->listener(), state.get());
        EXPECT_FALSE(state->findParam(key)->published());
    }
}

TEST_F(CatalogueTest, WithoutBuildInformationTheVersionIsReadError) {
    boot();
    EXPECT_EQ(valueOf("system.version"), "read error");
}

TEST_F(CatalogueTest, WithoutRevisionTheVersionStandsAlone) {
    root.write("/etc/build.prop", "VERSION=\"4.2\"\n");
    boot();
    EXPECT_EQ(valueOf("system.version"), "4.2");
}

TEST_F(CatalogueTest, WithoutNetworkFileTheAddressesAreZero) {
    root.remove(kNetworkFile);
    boot();
    EXPECT_EQ(valueOf("system.ipAddress"), "0");
    EXPECT_EQ(valueOf("system.netmask"), "0");
    EXPECT_EQ(valueOf("system.gateway"), "0");
}

TEST_F(CatalogueTest, NetworkFileIsReadOnce) {
    root.remove(kNetworkFile);
    boot();
    int complaints = 0;
    for (const Line& line : log.take()) {
        complaints += line.text.find("network.conf missing") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(complaints, 1);
}

}  // namespace

}  // namespace systemstate
