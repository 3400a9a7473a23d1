#include "soak_lib/bus_faults.h"

#include <variant>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pallbus/faults/fault_script.h"

namespace soak {
namespace {

using testing::ElementsAre;

// A line that the bus rejects would end a run in its middle.
TEST(BusFaults, AreAllInTheLanguageOfTheBus) {
    for (const BusFault& fault : busFaults()) {
        for (const char* const commands : {fault.begin, fault.end}) {
            for (const auto& line : splitFaultLines(commands == nullptr ? "" : commands, 117)) {
                EXPECT_NO_THROW(pallbus::faults::parseFaultLine(line)) << line;
            }
        }
    }
}

// The run ends them and has to know when.
TEST(BusFaults, DoNotEndByThemselves) {
    for (const BusFault& fault : busFaults()) {
        for (const std::string& line : splitFaultLines(fault.begin, 117)) {
            const auto steps = pallbus::faults::parseFaultLine(line);
            const auto& rule = std::get<pallbus::faults::FaultRule>(steps.at(0).command);
            EXPECT_FALSE(rule.duration.has_value()) << fault.name;
        }
    }
}

TEST(BusFaults, NameTheChosenClient) {
    EXPECT_THAT(splitFaultLines("close client ID", 117), ElementsAre("close client 117"));
    EXPECT_THAT(splitFaultLines("refuse\nclose daemon", 117),
                ElementsAre("refuse", "close daemon"));
}

}  // namespace
}  // namespace soak
