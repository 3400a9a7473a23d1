#include "soak_lib/expected_settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pallframe/simulation/frame_paths.h"
#include "support/temporary_directory.h"

namespace soak {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kNetworkFile = "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n";
constexpr ExpectedSettings::Addresses kInFile{0x0A000005, 0xFFFFFF00, 0x0A000001};

class ExpectedSettingsTest : public testing::Test {
  protected:
    ExpectedSettingsTest() {
        root_.replace("/vantor/etc/configurableSystemDetails.json",
                      R"({"version":0,"systemState":{"devices":[{"params":{)"
                      R"("d_system.systemName":{"value":"Studio"}}}]}})");
        root_.replace(pallframe::simulation::paths::kNetwork, kNetworkFile);
    }

    static const Parameter& parameter(std::string_view name) {
        for (const Parameter& one : writableParameters()) {
            if (name == one.name) {
                return one;
            }
        }
        throw std::runtime_error("no such parameter");
    }
    void acknowledge(std::string_view name, const std::string& value, uint64_t edition) {
        settings_.acknowledge(parameter(name), value, edition);
    }
    void acknowledge(std::string_view name, const std::string& value) {
        acknowledge(name, value, settings_.edition());
    }
    std::vector<std::string> differences() const { return settings_.compare(root_); }

    const TemporaryDirectory directory_;
    const pallframe::simulation::FrameRoot root_{directory_.path()};
    ExpectedSettings settings_;
};

TEST_F(ExpectedSettingsTest, NothingIsKnownAtFirst) {
    EXPECT_THAT(differences(), IsEmpty());
    EXPECT_FALSE(settings_.isNetworkKnown());
}

TEST_F(ExpectedSettingsTest, ComparesTheStateFileWithWhatWasAcknowledged) {
    acknowledge("systemName", "\"Studio\"");
    EXPECT_THAT(differences(), IsEmpty());
    acknowledge("systemName", "\"Other\"");
    EXPECT_THAT(differences(),
                ElementsAre("state file: systemName is \"Studio\" instead of \"Other\""));
}

TEST_F(ExpectedSettingsTest, FindsASavedSettingThatIsNotInTheFile) {
    acknowledge("frameName", "\"Studio\"");
    EXPECT_THAT(differences(), ElementsAre(HasSubstr("frameName is missing")));
}

TEST_F(ExpectedSettingsTest, ComparesNetworkConfWithTheLastEdit) {
    settings_.editNetwork(kInFile);
    EXPECT_TRUE(settings_.isNetworkKnown());
    EXPECT_THAT(differences(), IsEmpty());
    root_.replace(pallframe::simulation::paths::kNetwork, "IPADDR=10.0.0.5\nGATEWAY=10.0.0.2\n");
    EXPECT_THAT(differences(), ElementsAre("network.conf: netmask is missing instead of 4294967040",
                                           "network.conf: gateway is 167772162 instead of "
                                           "167772161"));
    root_.setAside(pallframe::simulation::paths::kNetwork);
    EXPECT_THAT(differences(), IsEmpty());
}

TEST_F(ExpectedSettingsTest, ComparesNetworkConfWithWhatWasAcknowledgedSince) {
    settings_.editNetwork(kInFile);
    acknowledge("gateway", "167772169");
    EXPECT_THAT(differences(), ElementsAre(HasSubstr("gateway is 167772161 instead of 167772169")));
}

TEST_F(ExpectedSettingsTest, SetAndEditOfTheSameMomentLeaveItOpen) {
    const uint64_t before = settings_.edition();
    settings_.editNetwork(kInFile);
    acknowledge("ipAddress", "9", before);
    EXPECT_FALSE(settings_.isNetworkKnown());
    EXPECT_THAT(differences(), IsEmpty());
    acknowledge("gateway", "9");
    EXPECT_THAT(differences(), ElementsAre(HasSubstr("gateway"))) << "the others are known";
}

TEST_F(ExpectedSettingsTest, EditOfTheNetworkLeavesAPendingSetOfTheStateFileKnown) {
    const uint64_t before = settings_.edition();
    settings_.editNetwork(kInFile);
    acknowledge("frameName", "\"Studio\"", before);
    EXPECT_EQ(settings_.value("frameName"), "\"Studio\"");
}

TEST_F(ExpectedSettingsTest, ForgetsOneOrTheNetwork) {
    settings_.editNetwork({1, 2, 3});
    settings_.forget(parameter("gateway"));
    settings_.forget(parameter("frameName"));
    EXPECT_THAT(differences(), ElementsAre(HasSubstr("ipAddress"), HasSubstr("netmask")));
    settings_.forgetNetwork();
    EXPECT_THAT(differences(), IsEmpty());
}

TEST_F(ExpectedSettingsTest, AnUnpredictableValueIsUnknown) {
    acknowledge("systemName", "\"Other\"");
    settings_.acknowledge(parameter("systemName"), std::nullopt, settings_.edition());
    EXPECT_THAT(differences(), IsEmpty());
}

}  // namespace
}  // namespace soak
