#include "pallctl/top/parameter_groups.h"

#include <gmock/gmock.h>

#include "client/known_parameters.h"
#include "messages.h"

namespace pallctl::top {
namespace {

using testing::ElementsAre;

class ParameterGroupsTest : public DeviceStateFixture {
  protected:
    std::vector<std::string> shown(const std::string& text = "") const {
        std::vector<std::string> lines;
        for (const Section& section : groupParameters(state, text)) {
            lines.push_back(section.title);
            for (const client::Parameter* parameter : section.parameters) {
                lines.push_back("  " + state.leafName(*parameter));
            }
        }
        return lines;
    }
};

TEST_F(ParameterGroupsTest, EveryParameterOfTheCatalogueHasAGroup) {
    for (const std::string& name : client::knownParameterNames()) {
        describe({descriptor(name.substr(name.find('.') + 1), "INT32", "1")});
    }
    size_t count = 0;
    for (const Section& section : groupParameters(state)) {
        EXPECT_NE(section.title, "Other");
        count += section.parameters.size();
    }
    EXPECT_EQ(count, client::knownParameterNames().size());
}

TEST_F(ParameterGroupsTest, WhatBelongsTogetherStandsTogetherWhateverCameFirst) {
    describe({descriptor("netmask", "INT32", "1"), descriptor("new", "INT32", "1"),
              descriptor("frameName", "STRING", "\"Q\""), descriptor("ipAddress", "INT32", "1")});
    EXPECT_THAT(shown(), ElementsAre("Identity", "  frameName", "Network", "  ipAddress",
                                     "  netmask", "Other", "  new"));
}

TEST_F(ParameterGroupsTest, WhatIsOnlyAnnouncedIsShownWhenTheCatalogueKnowsIt) {
    announce(R"("systemName":"Studio","details":{"primary":{}})");
    EXPECT_THAT(shown(), ElementsAre("Identity", "  systemName"));
}

TEST_F(ParameterGroupsTest, ATextLetsThroughWhatHasItInNameLabelOrValue) {
    describe({descriptor("ipAddress", "INT32", "167772165", kAddress),
              descriptor("sshEnabled", "INT32", "1", kSwitchChoices),
              descriptor("systemName", "STRING", "\"Address book\"")});
    EXPECT_THAT(shown("ADDRESS"),
                ElementsAre("Identity", "  systemName", "Network", "  ipAddress"));
    EXPECT_THAT(shown("10.0.0.5"), ElementsAre("Network", "  ipAddress"));
    EXPECT_THAT(shown("sshEnabled label"), ElementsAre("Services", "  sshEnabled"));
    EXPECT_THAT(shown("system.ssh"), ElementsAre()) << "all names begin like that";
}

}  // namespace
}  // namespace pallctl::top
