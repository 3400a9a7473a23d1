// pallctl network from outside, with a device that does not take everything.

#include <gmock/gmock.h>

#include "program_process.h"
#include "scripted_device.h"

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

std::string address(const std::string& leaf, const std::string& value) {
    return parameterJSON(leaf, "INT32", false, R"("widget":"WIDGET_IP_ADDRESS",)", value);
}

// 10.0.0.5, 255.255.255.0, 10.0.0.1
ScriptedDevice::Parameters settings() {
    return {{"ipAddress", address("ipAddress", "167772165")},
            {"netmask", address("netmask", "4294967040")},
            {"gateway", address("gateway", "167772161")}};
}

class NetworkTest : public testing::Test {
  protected:
    static std::vector<std::string> words(std::vector<std::string> more = {}) {
        std::vector<std::string> all{"network", "--address=10.9.0.7", "--netmask=255.255.0.0",
                                     "--gateway=10.9.0.1"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    // "netmask":4294901760 of each set so far.
    std::vector<std::string> sent() const {
        std::vector<std::string> members;
        for (const std::string& set : device_.sets()) {
            const size_t brace = set.rfind('{');
            members.push_back(set.substr(brace + 1, set.rfind('}') - brace - 1));
        }
        return members;
    }

    BusProcess bus_;
    ScriptedDevice device_{bus_.port(), settings()};
};

TEST_F(NetworkTest, PutsBackWhatWasTakenBeforeARefusal) {
    device_.answerSets("gateway", 400);
    const Outcome outcome = pallctl(bus_.port(), words());
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(sent(), ElementsAre("\"netmask\":4294901760", "\"gateway\":168361985",
                                    "\"netmask\":4294967040"));
    EXPECT_EQ(outcome.errors,
              "pallctl: network: system.gateway: 400 Bad Request\n"
              "pallctl: network: restoring the previous settings\n"
              "pallctl: network: previous settings restored\n");
}

TEST_F(NetworkTest, PutsBackWhatWasTakenAlsoWithAGuardian) {
    device_.answerSets("ipAddress", 404);
    const Outcome outcome = pallctl(bus_.port(), words({"--confirm-within=2m"}));
    EXPECT_EQ(outcome.status, 7);
    EXPECT_THAT(sent(), ElementsAre("\"netmask\":4294901760", "\"gateway\":168361985",
                                    "\"ipAddress\":168361991", "\"netmask\":4294967040",
                                    "\"gateway\":167772161"));
    EXPECT_THAT(outcome.errors, testing::Not(HasSubstr("Keep"))) << "nothing to confirm";
}

TEST_F(NetworkTest, HasNothingToPutBackWhenTheFirstIsRefused) {
    device_.answerSets("netmask", 400);
    EXPECT_EQ(pallctl(bus_.port(), words()).status, 3);
    EXPECT_EQ(pallctl(bus_.port(), words({"--confirm-within=2m"})).status, 3);
    EXPECT_THAT(sent(), ElementsAre("\"netmask\":4294901760", "\"netmask\":4294901760"));
}

// It may still be carried out, so it is put back, too.
TEST_F(NetworkTest, PutsBackWhatWasNotAnswered) {
    device_.answerSets("gateway", 0);
    const std::vector<std::string> all = words({"--timeout=1"});
    ProgramProcess process(pallctlCommand(bus_.port(), all));
    EXPECT_EQ(process.readErrorLine(), "pallctl: network: system.gateway: no answer");
    EXPECT_EQ(process.readErrorLine(), "pallctl: network: restoring the previous settings");
    device_.answerSets("gateway", 200);
    EXPECT_THAT(process.errors(), EndsWith("pallctl: network: previous settings restored\n"));
    EXPECT_EQ(process.wait(), 7);
    EXPECT_EQ(sent().back(), "\"gateway\":167772161");
}

TEST_F(NetworkTest, SaysWhatTheOldValuesWereWhenTheyAreRefused) {
    device_.answerSets("gateway", 0);
    ProgramProcess process(pallctlCommand(bus_.port(), words({"--timeout=1"})));
    EXPECT_EQ(process.readErrorLine(), "pallctl: network: system.gateway: no answer");
    device_.answerSets("netmask", 400);
    EXPECT_THAT(process.errors(),
                EndsWith("rollback FAILED; previous settings were --address 10.0.0.5 --gateway "
                         "10.0.0.1 --netmask 255.255.255.0\n"));
    EXPECT_EQ(process.wait(), 8);
}

TEST_F(NetworkTest, SendsNothingWithoutTheSettingsInForce) {
    device_.replace("gateway", address("gateway", "0"));
    const Outcome outcome = pallctl(bus_.port(), words({"--force"}));
    EXPECT_EQ(outcome.status, 3);
    EXPECT_THAT(outcome.errors, HasSubstr("incomplete"));
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(NetworkTest, SendsNothingToADeviceWithoutANetwork) {
    const Outcome outcome = pallctl(bus_.port(), words({"--object=frameB.system", "-t0.1"}));
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(NetworkTest, IsToldWhatToChangeAndHow) {
    for (const std::vector<std::string>& wrong : std::vector<std::vector<std::string>>{
             {"network"},
             {"network", "--address=10.1.2"},
             {"network", "--netmask=255.255.255.255"},
             {"network", "--gateway=0.0.0.0"},
             {"network", "--address=10.0.0.6", "--confirm-within=soon"},
             {"network", "--address=10.0.0.6", "--confirm-within=0s"},
             {"network", "--netmask=255.0.255.0"}}) {
        const Outcome outcome = pallctl(bus_.port(), wrong);
        EXPECT_EQ(outcome.status, 2) << testing::PrintToString(wrong);
        EXPECT_THAT(outcome.errors, testing::MatchesRegex("pallctl: [^\n]+\n"));
    }
    EXPECT_THAT(sent(), IsEmpty());
}

}  // namespace
