#include "soaking/trouble_deeds.h"

#include <gtest/gtest.h>

#include "pallbus/faults/fault_script.h"

namespace soak {
namespace {

// What the bus does not understand would end a run in its middle.
TEST(TroubleDeeds, AreAllInTheWordsOfTheBus) {
    for (const TroubleDeed& deed : troubleDeeds()) {
        ASSERT_NE(deed.begin, nullptr) << deed.name;
        for (const char* const words : {deed.begin, deed.also, deed.end}) {
            if (words != nullptr) {
                EXPECT_NO_THROW(pallbus::faults::parseFaultLine(withID(words, 117))) << words;
            }
        }
    }
}

// Or the next deed would meet the one before.
TEST(TroubleDeeds, AreOverByThemselves) {
    for (const TroubleDeed& deed : troubleDeeds()) {
        const auto plan = pallbus::faults::parseFaultLine(withID(deed.begin, 117));
        const auto& rule = std::get<pallbus::faults::FaultRule>(plan.at(0).command);
        EXPECT_TRUE(rule.kind == pallbus::faults::FaultKind::close ||
                    rule.frequency == pallbus::faults::Frequency::next ||
                    rule.duration == deed.lasts)
            << deed.name;
    }
}

TEST(TroubleDeeds, NameTheClientThatWasPicked) {
    EXPECT_EQ(withID("close client ID", 117), "close client 117");
    EXPECT_EQ(withID("close daemon", 117), "close daemon");
}

}  // namespace
}  // namespace soak
