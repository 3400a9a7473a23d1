// pallctl --object frameB.system: a daemon that is reached through a prefix.

#include <algorithm>
#include <iterator>
#include <string>

#include "on_pallbus.h"
#include "systemstate/catalogue.h"
#include "util/json.h"

using harness::Result;
using testing::ContainsRegex;

namespace {

Words throughPrefix(Words words) {
    words.insert(words.begin(), {"--object", "frameB.system"});
    return words;
}

bool hasEnded(harness::Process& process) {
    try {
        process.waitForEnd(harness::Deadline(std::chrono::milliseconds(1)));
        return true;
    } catch (const harness::TimedOut&) {
        return false;
    }
}

class PallctlPrefix : public OnPallbus {
  protected:
    PallctlPrefix() { start({"-p", "frameB"}); }

    static Result there(const Words& words) { return pallctl(throughPrefix(words)); }

    // Set through the prefix: any request for "system" would give the names back.
    void expectNothingRenamed() {
        ASSERT_EQ(there({"set", "--always", "systemName=System", "ipAddress=10.0.0.5",
                         "sshEnabled=Enabled"})
                      .status,
                  0);
        for (const char* name : {"systemName", "ipAddress", "sshEnabled"}) {
            log.waitFor(std::string("SystemState::valueChanged, oid=system.") + name);
        }
    }
};

TEST_F(PallctlPrefix, ReadsWhatTheDeviceTellsAndRenamesNothing) {
    const Result saved = there({"get", "systemName", "system.sshEnabled", "frameB.system.active"});
    EXPECT_EQ(saved.status, 0) << saved.error;
    EXPECT_EQ(saved.output, "System\nEnabled\n1\n");
    EXPECT_EQ(there({"list"}).status, 0);
    EXPECT_EQ(there({"describe"}).status, 0);
    EXPECT_EQ(there({"version"}).status, 0);
    expectNothingRenamed();
}

TEST_F(PallctlPrefix, SaysWhichValuesAreNotTold) {
    const Result live = there({"get", "ipAddress", "systemName"});
    EXPECT_EQ(live.status, 5);
    EXPECT_EQ(live.output, "System\n");
    EXPECT_EQ(live.error,
              "pallctl: frameB.system.ipAddress: its value is not readable through a prefix\n");
    EXPECT_EQ(there({"get", "nosuch"}).status, 4);
    const Result all = there({"list"});
    const auto unreadable = std::ranges::count(systemstate::catalogue(), systemstate::Storage::live,
                                               &systemstate::CatalogueRow::storage);
    EXPECT_EQ(all.error, "pallctl: frameB.system: " + std::to_string(unreadable) +
                             " values are not readable through a prefix\n");
    EXPECT_THAT(all.output, ContainsRegex("\nframeB.system.ipAddress +- +INT32 "));
}

TEST_F(PallctlPrefix, KnowsFromTheCatalogueWhatTheDeviceWouldSay) {
    const auto described = [](const Words& words) {
        const std::string text = pallctl(words).output;
        return util::parseJSON(text.data(), text.size());
    };
    const util::UniqueJSON here = described({"describe", "--json"});
    const util::UniqueJSON prefixed = described(throughPrefix({"describe", "--json"}));
    ASSERT_EQ(cJSON_GetArraySize(here.get()), std::ssize(systemstate::catalogue()));
    ASSERT_EQ(cJSON_GetArraySize(prefixed.get()), std::ssize(systemstate::catalogue()));
    const cJSON* parameter = nullptr;
    cJSON_ArrayForEach(parameter, here.get()) {
        const cJSON* other =
            util::jsonMember(prefixed.get(), (std::string("frameB.") + parameter->string).c_str());
        for (const char* fact : {"label", "type", "readOnly", "constraint", "choices", "minimum",
                                 "maximumLength", "decimals", "widget"}) {
            EXPECT_EQ(util::renderJSON(util::jsonMember(other, fact), false),
                      util::renderJSON(util::jsonMember(parameter, fact), false))
                << parameter->string << " " << fact;
        }
    }
}

TEST_F(PallctlPrefix, SetsInHumanForm) {
    const Result result = there({"set", "-k", "sshEnabled=enabled", "systemName=B",
                                 "ipAddress=10.0.0.9", "netmask=255.255.255.0"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_EQ(result.output,
              "frameB_system_sshEnabled='unchanged'\n"
              "frameB_system_systemName='set'\n"
              "frameB_system_ipAddress='set'\n"
              "frameB_system_netmask='set'\n");
    EXPECT_EQ(pallctl({"get", "systemName", "ipAddress"}).output, "B\n10.0.0.9\n");
    const Result unfit = there({"set", "ipAddress=10.0.0", "sshEnabled=2", "psu1Voltage=1"});
    EXPECT_EQ(unfit.status, 2);
    EXPECT_EQ(unfit.error,
              "pallctl: frameB.system.ipAddress: must be an address such as 10.1.2.3\n"
              "pallctl: frameB.system.sshEnabled: must be one of: Disabled, Enabled\n"
              "pallctl: frameB.system.psu1Voltage: is read-only\n");
}

TEST_F(PallctlPrefix, WaitsForWhatIsAnnounced) {
    harness::Process waiting(program("pallctl", throughPrefix({"wait", "gateway=10.0.0.7"})));
    // Heard only while it listens, which it does at some time.
    harness::waitUntil(
        [&] {
            pallctl({"set", "--always", "gateway=10.0.0.7"});
            return hasEnded(waiting);
        },
        "the announcement to be heard");
    EXPECT_EQ(waiting.waitForEnd(), 0);
}

TEST_F(PallctlPrefix, AnObjectThatNobodyServesDoesNotAnswer) {
    const Result result = pallctl({"--object=frameC.system", "--timeout=0.2", "list"});
    EXPECT_EQ(result.status, 5);
    EXPECT_EQ(result.error, "pallctl: frameC.system: no answer\n");
    for (const char* object : {"", ".system", "system.", "a b", "a\"b"}) {
        const Result bad = pallctl({"--object", object, "list"});
        EXPECT_EQ(bad.status, 2) << object;
        EXPECT_THAT(bad.error, isOneComplaint("pallctl")) << object;
    }
}

}  // namespace
