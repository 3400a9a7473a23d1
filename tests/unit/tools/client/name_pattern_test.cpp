#include "client/name_pattern.h"

#include <gtest/gtest.h>

namespace client {
namespace {

TEST(NamePattern, HasAWildcard) {
    for (const char* pattern : {"psu*", "*", "ethPort?Status", "[ps]su1Voltage"}) {
        EXPECT_TRUE(isPattern(pattern)) << pattern;
    }
    EXPECT_FALSE(isPattern("system.psu1Voltage"));
}

TEST(NamePattern, MatchesWholeNamesInAnyCase) {
    for (const char* pattern :
         {"system.psu*", "system.*", "system.PSU?VOLTAGE", "system.psu[12]V*"}) {
        EXPECT_TRUE(matchesPattern(pattern, "system.psu1Voltage")) << pattern;
    }
    for (const char* pattern : {"psu*", "system.psu?", "system.psu[34]*", "frameB.system.*"}) {
        EXPECT_FALSE(matchesPattern(pattern, "system.psu1Voltage")) << pattern;
    }
}

}  // namespace
}  // namespace client
