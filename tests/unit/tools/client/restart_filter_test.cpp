#include "client/restart_filter.h"

#include <gmock/gmock.h>

namespace client {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr bool kRead = true;
constexpr bool kAnnounced = false;

class RestartFilterTest : public testing::Test {
  protected:
    RestartFilterTest() {
        filter_.setKnown("voltage", "12.00");
        filter_.setKnown("port", "1");
    }

    bool isNews(const std::string& name, const std::string& text, bool isRead) {
        return filter_.isNews(name, text, isRead, now_);
    }

    RestartFilter filter_;
    Deadline now_{1h};
};

TEST_F(RestartFilterTest, PassesChangesWithoutARestart) {
    EXPECT_TRUE(isNews("voltage", "11.00", kAnnounced));
    EXPECT_TRUE(isNews("voltage", "0.00", kRead)) << "the bus was away";
    EXPECT_TRUE(isNews("new", "1", kAnnounced));
    EXPECT_EQ(filter_.next(), Deadline::max());
}

TEST_F(RestartFilterTest, DropsInitialValuesThatAreMeasuredAsBefore) {
    filter_.restart();
    EXPECT_FALSE(isNews("voltage", "0.00", kRead));
    EXPECT_FALSE(isNews("port", "0", kRead));
    EXPECT_FALSE(isNews("voltage", "12.00", kAnnounced));
    EXPECT_FALSE(isNews("port", "1", kAnnounced));
    EXPECT_EQ(filter_.next(), Deadline::max());
}

TEST_F(RestartFilterTest, PassesAtOnceWhatIsMeasuredDifferently) {
    filter_.restart();
    EXPECT_FALSE(isNews("voltage", "0.00", kRead));
    EXPECT_TRUE(isNews("voltage", "11.00", kAnnounced));
    EXPECT_TRUE(isNews("voltage", "12.00", kAnnounced));
}

TEST_F(RestartFilterTest, PassesLaterWhatStaysDifferentInItsOrder) {
    filter_.restart();
    EXPECT_FALSE(isNews("port", "0", kRead));
    EXPECT_FALSE(isNews("voltage", "0.00", kRead));
    EXPECT_EQ(filter_.next(), now_ + RestartFilter::kSettleTime);
    EXPECT_THAT(filter_.takeOverdue(now_ + RestartFilter::kSettleTime - 1ms), IsEmpty());
    EXPECT_THAT(filter_.takeOverdue(now_ + RestartFilter::kSettleTime),
                ElementsAre("port", "voltage"));
    EXPECT_EQ(filter_.next(), Deadline::max());
    filter_.setKnown("port", "0");
    EXPECT_TRUE(isNews("port", "1", kAnnounced));
}

TEST_F(RestartFilterTest, HoldsNothingBackAfterTheReading) {
    filter_.restart();
    EXPECT_FALSE(isNews("voltage", "0.00", kRead));
    EXPECT_TRUE(isNews("port", "2", kAnnounced));
    EXPECT_TRUE(isNews("port", "0", kRead)) << "the bus was away";
}

}  // namespace
}  // namespace client
