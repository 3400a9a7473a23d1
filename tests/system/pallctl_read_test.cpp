// pallctl's verbs that read, on the real bus with the real daemon.

#include <algorithm>

#include "on_pallbus.h"

using harness::Result;
using testing::HasSubstr;

namespace {

class PallctlRead : public OnPallbus {
  protected:
    PallctlRead() { start(); }
};

TEST_F(PallctlRead, ListsTheWholeCatalogue) {
    const Result result = pallctl({"list"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(std::count(result.output.begin(), result.output.end(), '\n'), 1 + 5 + 28 + 3);
    EXPECT_THAT(result.output, HasSubstr("\nsystem.ipAddress "));
}

}  // namespace
