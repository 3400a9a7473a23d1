#include "soak_lib/bus_faults.h"

#include <gtest/gtest.h>

#include "pallbus/faults/fault_script.h"

namespace soak {
namespace {

// A line that the bus rejects would end a run in its middle.
TEST(BusFaults, AreAllInTheLanguageOfTheBus) {
    for (const BusFault& fault : busFaults()) {
        for (const char* const commands : {fault.begin, fault.end}) {
            const std::string script = nameClient(commands == nullptr ? "" : commands, 117);
            EXPECT_NO_THROW(pallbus::faults::parseFaultScript(script, "fault")) << script;
        }
    }
}

// The run ends them and has to know when.
TEST(BusFaults, DoNotEndByThemselves) {
    for (const BusFault& fault : busFaults()) {
        const auto steps = pallbus::faults::parseFaultScript(nameClient(fault.begin, 117), "fault");
        EXPECT_FALSE(steps.empty()) << fault.name;
        for (const auto& step : steps) {
            EXPECT_FALSE(step.fault.duration.has_value()) << fault.name;
        }
    }
}

TEST(BusFaults, NameTheChosenClient) {
    EXPECT_EQ(nameClient("close client ID", 117), "close client 117");
    EXPECT_EQ(nameClient("refuse\nclose daemon", 117), "refuse\nclose daemon");
}

}  // namespace
}  // namespace soak
