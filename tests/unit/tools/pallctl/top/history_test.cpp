#include "pallctl/top/history.h"

#include <gmock/gmock.h>

namespace pallctl::top {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::Optional;

constexpr Reading kNone = std::nullopt;

// Four columns: each is a minute.
TEST(HistoryTest, AReadingHoldsUntilTheNext) {
    History history;
    history.add(30s, 12.0);
    history.add(150s, 9.0);
    EXPECT_THAT(history.lowest(239s, 4), ElementsAre(12.0, 12.0, 9.0, 9.0));
}

TEST(HistoryTest, NothingIsKnownBeforeTheFirstAndAfterALoss) {
    History history;
    history.add(70s, 12.0);
    history.add(110s, kNone);
    EXPECT_EQ(history.last(), kNone);
    EXPECT_THAT(history.lowest(239s, 4), ElementsAre(kNone, 12.0, kNone, kNone));
}

TEST(HistoryTest, AShortDipIsSeen) {
    History history;
    history.add(0s, 12.0);
    history.add(70s, 3.0);
    history.add(71s, 12.0);
    EXPECT_THAT(history.lowest(239s, 4), ElementsAre(12.0, 3.0, 12.0, 12.0));
}

TEST(HistoryTest, StandsStillBetweenTwoStretches) {
    History history;
    history.add(0s, 12.0);
    history.add(200s, 9.0);
    const auto before = history.lowest(240s, 4);
    EXPECT_EQ(history.lowest(299s, 4), before);
    EXPECT_THAT(before, ElementsAre(12.0, 12.0, 9.0, 9.0));
    EXPECT_THAT(history.lowest(300s, 4), ElementsAre(12.0, 9.0, 9.0, 9.0));
}

TEST(HistoryTest, KeepsWhatHeldWhenTheGraphBegins) {
    History history;
    history.add(0s, 12.0);
    history.add(3600s, 9.0);
    EXPECT_THAT(history.lowest(3600s, 4), ElementsAre(12.0, 12.0, 12.0, 9.0));
}

// The graph begins in the middle of the first reading, which is the lowest of all.
TEST(HistoryTest, AllReadingsInTheTimeOfTheGraphCount) {
    History history;
    history.add(0s, 0.15);
    history.add(100s, 3.0);
    history.add(130s, 11.83);
    EXPECT_THAT(history.all(239s, 4), ElementsAre(0.15, 3.0, 11.83));
    EXPECT_THAT(history.all(300s, 4), ElementsAre(3.0, 11.83)) << "120 s to 300 s are drawn";
    EXPECT_THAT(history.all(341s, 0), ElementsAre(3.0, 11.83)) << "the whole time span";
    EXPECT_THAT(history.all(129s, 4), ElementsAre(0.15, 3.0));
}

TEST(HistoryTest, HasNoColumnsWhereThereIsNoRoom) {
    History history;
    history.add(0s, 12.0);
    EXPECT_TRUE(history.lowest(1s, 0).empty());
}

TEST(ScaleTest, IsFromTheLowestToTheHighest) {
    const auto scale = findScale({kNone, 9.0, 12.0, kNone});
    ASSERT_TRUE(scale);
    EXPECT_EQ(scale->low, 9.0);
    EXPECT_EQ(scale->high, 12.0);
    EXPECT_FALSE(findScale({kNone, kNone}));
}

TEST(SparklineTest, DrawsFromTheLowestToTheHighest) {
    EXPECT_EQ(sparkline({0.0, 4.0, 8.0}, {0, 8}, Charset::unicode), "▁▅█");
    EXPECT_EQ(sparkline({0.0, 4.0, 8.0}, {0, 8}, Charset::ascii), "_=#");
}

TEST(SparklineTest, LeavesOutWhatIsNotKnown) {
    EXPECT_EQ(sparkline({0.0, kNone, 8.0}, {0, 8}, Charset::unicode), "▁ █");
}

// 1 % of noise on 12 V is a fifth of the height at most.
TEST(SparklineTest, NoiseDoesNotLookLikeAnEvent) {
    const std::string noisy = sparkline({11.95, 12.05}, {11.95, 12.05}, Charset::unicode);
    EXPECT_EQ(noisy, "▄▅");
    EXPECT_EQ(sparkline({12.0, 12.0}, {12, 12}, Charset::unicode), "▅▅");
}

TEST(SparklineTest, ADeadSupplyLiesOnTheGround) {
    EXPECT_EQ(sparkline({0.0, 0.0}, {0, 0}, Charset::unicode), "▁▁");
}

}  // namespace
}  // namespace pallctl::top
