#include "trouble/trouble.h"

#include <gmock/gmock.h>

#include "program/timed_script.h"
#include "trouble/words.h"

namespace pallbus {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMessage = "[\"GET\", \"system\", 20, 0, 0]\n{}";

class TroubleTest : public testing::Test {
  protected:
    TroubleTest() { trouble_.join(1); }

    void begin(const std::string& line) {
        const auto words = script::parse(line, "line").at(0).words;
        trouble_.begin(std::get<Rule>(parseOrder(words)), now_);
    }

    Fate from(int client, const char* message = kMessage) {
        return trouble_.meet({Direction::from, 1, client, message});
    }
    Fate to(int client, const char* message = kMessage) {
        return trouble_.meet({Direction::to, 1, client, message});
    }
    // Which of so many messages from a client are lost, from 0.
    std::vector<int> lostOf(int count) {
        std::vector<int> lost;
        for (int number = 0; number < count; ++number) {
            if (from(20).lost) {
                lost.push_back(number);
            }
        }
        return lost;
    }

    Trouble::Clock::time_point now_{};
    Trouble trouble_{42};
};

TEST_F(TroubleTest, WithoutAnyMessagesPass) {
    EXPECT_TRUE(trouble_.isCalm());
    EXPECT_EQ(from(20), Fate{});
    EXPECT_FALSE(trouble_.refuses());
    EXPECT_TRUE(trouble_.reads(20));
    EXPECT_EQ(trouble_.nextEnd(), std::nullopt);
}

TEST_F(TroubleTest, BefallsBothWaysUnlessToldOtherwise) {
    begin("drop");
    EXPECT_TRUE(from(20).lost);
    EXPECT_TRUE(to(20).lost);
    trouble_.calm();
    begin("drop from anyone");
    EXPECT_TRUE(from(20).lost);
    EXPECT_FALSE(to(20).lost);
    trouble_.calm();
    begin("drop to anyone");
    EXPECT_FALSE(from(20).lost);
    EXPECT_TRUE(to(20).lost);
}

TEST_F(TroubleTest, BefallsOneClientOnly) {
    begin("drop client 20");
    EXPECT_TRUE(from(20).lost);
    EXPECT_FALSE(from(21).lost);
    EXPECT_FALSE(trouble_.meet({Direction::from, 1, std::nullopt, kMessage}).lost)
        << "who has not logged in is nobody yet";
}

TEST_F(TroubleTest, BefallsAnObjectAndAllBelowIt) {
    begin("drop object frameB.system");
    EXPECT_TRUE(from(20, "[\"SET\", \"frameB.system\", 1, 0, 0]\n{}").lost);
    EXPECT_TRUE(from(20, "[\"SET\", \"frameB.system.connection\", 1, 0, 0]\n{}").lost);
    EXPECT_TRUE(to(20, "40:[\"SET\", \"frameB.system\", 1, 0, 0]\n{};").lost) << "a whole frame";
    for (const char* other :
         {"[\"SET\", \"frameB\", 1, 0, 0]\n{}", "[\"SET\", \"frameB.systems\", 1, 0, 0]\n{}",
          "[\"SET\", \"\", 1, 0, 0]\n{}", "no message", "no [message\n", "\n[", ""}) {
        EXPECT_FALSE(from(20, other).lost) << other;
    }
}

TEST_F(TroubleTest, TheEmptyObjectStandsForAll) {
    begin("drop object ''");
    EXPECT_TRUE(from(20).lost);
}

TEST_F(TroubleTest, BefallsEachNthOfThoseItConcerns) {
    begin("drop every 3 from client 20");
    EXPECT_FALSE(from(21).lost) << "does not count";
    EXPECT_THAT(lostOf(9), ElementsAre(2, 5, 8));
}

TEST_F(TroubleTest, BefallsTheNextFewAndIsOver) {
    begin("drop next 2");
    EXPECT_THAT(lostOf(5), ElementsAre(0, 1));
    EXPECT_TRUE(trouble_.isCalm());
}

TEST_F(TroubleTest, BefallsAShare) {
    begin("drop 25%");
    const auto lost = lostOf(10'000).size();
    EXPECT_GT(lost, 2200u);
    EXPECT_LT(lost, 2800u);
    trouble_.calm();
    begin("drop 0%");
    EXPECT_THAT(lostOf(1000), IsEmpty());
    trouble_.calm();
    begin("drop 100%");
    EXPECT_EQ(lostOf(1000).size(), 1000u);
}

TEST_F(TroubleTest, LeavesTheSameToChanceForTheSameSeed) {
    begin("drop 50%");
    const auto lost = lostOf(200);
    trouble_ = Trouble(42);
    begin("drop 50%");
    EXPECT_EQ(lostOf(200), lost);
    trouble_ = Trouble(43);
    begin("drop 50%");
    EXPECT_NE(lostOf(200), lost);
}

TEST_F(TroubleTest, DelaysByAFixedTimeOrWithinARange) {
    begin("delay 20ms to daemon");
    EXPECT_EQ(to(8).delay, 20ms);
    trouble_.calm();
    begin("delay 5ms-7ms");
    std::set<std::chrono::milliseconds> delays;
    for (int i = 0; i < 200; ++i) {
        delays.insert(from(20).delay);
    }
    EXPECT_THAT(delays, ElementsAre(5ms, 6ms, 7ms));
}

TEST_F(TroubleTest, TroublesAddUp) {
    begin("delay 20ms");
    begin("delay 30ms");
    begin("split");
    begin("join 4");
    begin("corrupt 2");
    begin("corrupt 3");
    begin("close mid-frame every 1");
    const Fate fate = to(20);
    EXPECT_EQ(fate.delay, 50ms);
    EXPECT_EQ(fate.corrupted, 5u);
    EXPECT_TRUE(fate.split);
    EXPECT_EQ(fate.joined, 4u);
    EXPECT_TRUE(fate.cut);
    EXPECT_FALSE(fate.lost);
    const Fate taken = from(20);
    EXPECT_FALSE(taken.split || taken.joined > 0 || taken.cut) << "done to what the bus sends only";
}

TEST_F(TroubleTest, WhatIsLostMeetsNothingMore) {
    begin("drop next 1");
    begin("delay 1s next 1");
    EXPECT_TRUE(from(20).lost);
    EXPECT_EQ(from(20).delay, 1s);
}

TEST_F(TroubleTest, SilenceLosesEverythingBothWays) {
    begin("silent daemon");
    EXPECT_TRUE(from(8).lost);
    EXPECT_TRUE(to(8).lost);
    EXPECT_FALSE(from(20).lost);
}

TEST_F(TroubleTest, SilenceIsOfTheConnectionsThatStand) {
    begin("silent");
    begin("drop next 1");
    trouble_.join(2);
    EXPECT_TRUE(from(8).lost);
    EXPECT_TRUE(trouble_.meet({Direction::from, 2, 8, kMessage}).lost) << "by the drop";
    EXPECT_FALSE(trouble_.meet({Direction::from, 2, 8, kMessage}).lost);
}

TEST_F(TroubleTest, StopsReadingFromThoseItConcerns) {
    begin("stop reading client 20");
    EXPECT_FALSE(trouble_.reads(20));
    EXPECT_TRUE(trouble_.reads(21));
    EXPECT_TRUE(trouble_.reads(std::nullopt));
    EXPECT_EQ(from(20), Fate{}) << "what is taken in passes";
    begin("stop reading");
    EXPECT_FALSE(trouble_.reads(std::nullopt));
}

TEST_F(TroubleTest, RefusesWhileTold) {
    begin("refuse 2s");
    EXPECT_TRUE(trouble_.refuses());
    EXPECT_EQ(from(20), Fate{});
    trouble_.endDue(now_ + 1999ms);
    EXPECT_TRUE(trouble_.refuses());
    trouble_.endDue(now_ + 2s);
    EXPECT_FALSE(trouble_.refuses());
}

TEST_F(TroubleTest, EndsEachAtItsTime) {
    begin("drop for 2s");
    begin("delay 1ms for 1s");
    begin("split");
    EXPECT_EQ(trouble_.nextEnd(), now_ + 1s);
    trouble_.endDue(now_ + 1s);
    EXPECT_EQ(trouble_.nextEnd(), now_ + 2s);
    trouble_.endDue(now_ + 5s);
    EXPECT_EQ(trouble_.nextEnd(), std::nullopt);
    EXPECT_FALSE(from(20).lost);
    EXPECT_TRUE(to(20).split) << "lasts until calm";
    trouble_.calm();
    EXPECT_TRUE(trouble_.isCalm());
}

TEST_F(TroubleTest, TheSameTroubleAgainBeginsAnew) {
    begin("drop next 2");
    EXPECT_TRUE(from(20).lost);
    now_ += 1s;
    begin("drop next 2");
    EXPECT_THAT(lostOf(5), ElementsAre(0, 1)) << "not three in all";
}

TEST_F(TroubleTest, CorruptsSoManyBytesAndNoOther) {
    for (size_t count : {1u, 3u, 10u, 99u}) {
        std::string bytes = "0123456789";
        trouble_.corrupt(bytes, count);
        size_t changed = 0;
        for (size_t i = 0; i < bytes.size(); ++i) {
            changed += bytes[i] != static_cast<char>('0' + i) ? 1u : 0u;
        }
        EXPECT_EQ(changed, std::min<size_t>(count, 10u));
    }
    std::string nothing;
    trouble_.corrupt(nothing, 5);
}

TEST_F(TroubleTest, ShowsWhatIsInForceInItsOwnWords) {
    EXPECT_THAT(trouble_.show(now_), IsEmpty());
    begin("drop every 2 from client 20");
    begin("refuse for 3s");
    begin("stop reading");
    lostOf(3);
    EXPECT_THAT(trouble_.show(now_ + 500ms),
                ElementsAre("drop every 2 from client 20  # befell 1 of 3 messages",
                            "refuse for 3s  # 2500ms left", "stop reading"));
}

}  // namespace
}  // namespace pallbus
