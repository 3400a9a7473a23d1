#include "pallframe/doctor/frame_list.h"

#include <cstdlib>
#include <ctime>

#include <gtest/gtest.h>

using namespace pallframe::doctor;

namespace {

// Times in these are those of a zone that is no other.
class Frames : public testing::Test {
  protected:
    Frames() {
        ::setenv("TZ", "UTC", 1);
        ::tzset();
    }
    ~Frames() override {
        ::unsetenv("TZ");
        ::tzset();
    }

    const std::chrono::system_clock::time_point start =
        std::chrono::system_clock::from_time_t(1000000000);  // of 2001
    const std::vector<pallframe::sandbox::RunningFrame> two{
        {7, "", "sh -c 'a\nb'", "KELI", start},
        {12345, "/tmp/\xff", "true", "Tessara-5ru", start + std::chrono::seconds(1)}};
};

TEST_F(Frames, AreALineEachForAPerson) {
    EXPECT_EQ(formatTable(two),
              "FRAME  PRODUCT      STARTED              FILES      COMMAND\n"
              "7      KELI         2001-09-09 01:46:40  in memory  sh -c 'a\\nb'\n"
              "12345  Tessara-5ru  2001-09-09 01:46:41  /tmp/\\xff  true\n");
}

TEST_F(Frames, AreALineEachForAProgram) {
    EXPECT_EQ(formatJSON(two),
              R"({"frame":7,"product":"KELI","started":"2001-09-09T01:46:40.000+00:00",)"
              R"("directory":null,"command":"sh -c 'a\nb'"})"
              "\n"
              R"({"frame":12345,"product":"Tessara-5ru","started":"2001-09-09T01:46:41.000+00:00",)"
              "\"directory\":\"/tmp/\xef\xbf\xbd\",\"command\":\"true\"}\n");
}

TEST_F(Frames, AreOnlyAHeadingWhenNoneRuns) {
    EXPECT_EQ(formatTable({}), "FRAME  PRODUCT  STARTED  FILES  COMMAND\n");
    EXPECT_EQ(formatJSON({}), "");
}

}  // namespace
