#include "pallbus/faults/fault_injector.h"

#include <gmock/gmock.h>

#include "cli/timed_script.h"
#include "pallbus/faults/fault_parser.h"

namespace pallbus::faults {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kMessage = "[\"GET\", \"system\", 20, 0, 0]\n{}";

class FaultInjectorTest : public testing::Test {
  protected:
    FaultInjectorTest() { injector_.addConnection(1); }

    void add(const std::string& line) {
        const auto words = cli::script::parse(line, "line").at(0).words;
        injector_.add(parseFault(words), now_);
    }

    Delivery from(int client, const char* message = kMessage) {
        return injector_.apply({Direction::from, 1, client, message});
    }
    Delivery to(int client, const char* message = kMessage) {
        return injector_.apply({Direction::to, 1, client, message});
    }
    // Which of so many messages from a client are lost, from 0.
    std::vector<int> countDropped(int count) {
        std::vector<int> lost;
        for (int number = 0; number < count; ++number) {
            if (from(20).dropped) {
                lost.push_back(number);
            }
        }
        return lost;
    }

    FaultInjector::Clock::time_point now_{};
    FaultInjector injector_{42};
};

TEST_F(FaultInjectorTest, WithoutAnyMessagesPass) {
    EXPECT_TRUE(injector_.isIdle());
    EXPECT_EQ(from(20), Delivery{});
    EXPECT_FALSE(injector_.refusesConnections());
    EXPECT_TRUE(injector_.readsFrom(20));
    EXPECT_EQ(injector_.nextExpiry(), std::nullopt);
}

TEST_F(FaultInjectorTest, AppliesInBothDirectionsByDefault) {
    add("drop");
    EXPECT_TRUE(from(20).dropped);
    EXPECT_TRUE(to(20).dropped);
    injector_.clear();
    add("drop from any");
    EXPECT_TRUE(from(20).dropped);
    EXPECT_FALSE(to(20).dropped);
    injector_.clear();
    add("drop to any");
    EXPECT_FALSE(from(20).dropped);
    EXPECT_TRUE(to(20).dropped);
}

TEST_F(FaultInjectorTest, AppliesToOneClient) {
    add("drop client 20");
    EXPECT_TRUE(from(20).dropped);
    EXPECT_FALSE(from(21).dropped);
    EXPECT_FALSE(injector_.apply({Direction::from, 1, std::nullopt, kMessage}).dropped)
        << "who has not logged in is nobody yet";
}

TEST_F(FaultInjectorTest, AppliesToAnObjectAndAllBelowIt) {
    add("drop object frameB.system");
    EXPECT_TRUE(from(20, "[\"SET\", \"frameB.system\", 1, 0, 0]\n{}").dropped);
    EXPECT_TRUE(from(20, "[\"SET\", \"frameB.system.connection\", 1, 0, 0]\n{}").dropped);
    EXPECT_TRUE(to(20, "40:[\"SET\", \"frameB.system\", 1, 0, 0]\n{};").dropped) << "a whole frame";
    for (const char* other :
         {"[\"SET\", \"frameB\", 1, 0, 0]\n{}", "[\"SET\", \"frameB.systems\", 1, 0, 0]\n{}",
          "[\"SET\", \"\", 1, 0, 0]\n{}", "no message", "no [message\n", "\n[", ""}) {
        EXPECT_FALSE(from(20, other).dropped) << other;
    }
}

TEST_F(FaultInjectorTest, TheEmptyObjectMatchesAll) {
    add("drop object ''");
    EXPECT_TRUE(from(20).dropped);
}

TEST_F(FaultInjectorTest, AppliesToEveryNthMatchingMessage) {
    add("drop every 3 from client 20");
    EXPECT_FALSE(from(21).dropped) << "does not count";
    EXPECT_THAT(countDropped(9), ElementsAre(2, 5, 8));
}

TEST_F(FaultInjectorTest, AppliesToTheNextMessagesAndEnds) {
    add("drop next 2");
    EXPECT_THAT(countDropped(5), ElementsAre(0, 1));
    EXPECT_TRUE(injector_.isIdle());
}

TEST_F(FaultInjectorTest, AppliesToAPercentage) {
    add("drop 25%");
    const auto lost = countDropped(10'000).size();
    EXPECT_GT(lost, 2200u);
    EXPECT_LT(lost, 2800u);
    injector_.clear();
    add("drop 0%");
    EXPECT_THAT(countDropped(1000), IsEmpty());
    injector_.clear();
    add("drop 100%");
    EXPECT_EQ(countDropped(1000).size(), 1000u);
}

TEST_F(FaultInjectorTest, LeavesTheSameToChanceForTheSameSeed) {
    add("drop 50%");
    const auto lost = countDropped(200);
    injector_ = FaultInjector(42);
    add("drop 50%");
    EXPECT_EQ(countDropped(200), lost);
    injector_ = FaultInjector(43);
    add("drop 50%");
    EXPECT_NE(countDropped(200), lost);
}

TEST_F(FaultInjectorTest, DelaysByAFixedTimeOrWithinARange) {
    add("delay 20ms to daemon");
    EXPECT_EQ(to(8).delay, 20ms);
    injector_.clear();
    add("delay 5ms-7ms");
    std::set<std::chrono::milliseconds> delays;
    for (int i = 0; i < 200; ++i) {
        delays.insert(from(20).delay);
    }
    EXPECT_THAT(delays, ElementsAre(5ms, 6ms, 7ms));
}

TEST_F(FaultInjectorTest, FaultsAddUp) {
    add("delay 20ms");
    add("delay 30ms");
    add("fragment");
    add("coalesce 4");
    add("corrupt 2");
    add("corrupt 3");
    add("truncate every 1");
    const Delivery delivery = to(20);
    EXPECT_EQ(delivery.delay, 50ms);
    EXPECT_EQ(delivery.corruptedBytes, 5u);
    EXPECT_TRUE(delivery.fragmented);
    EXPECT_EQ(delivery.coalesced, 4u);
    EXPECT_TRUE(delivery.truncated);
    EXPECT_FALSE(delivery.dropped);
    const Delivery taken = from(20);
    EXPECT_FALSE(taken.fragmented || taken.coalesced > 0 || taken.truncated)
        << "done to what the bus sends only";
}

TEST_F(FaultInjectorTest, WhatIsLostMeetsNothingMore) {
    add("drop next 1");
    add("delay 1s next 1");
    EXPECT_TRUE(from(20).dropped);
    EXPECT_EQ(from(20).delay, 1s);
}

TEST_F(FaultInjectorTest, ABlackholeDropsEverythingInBothDirections) {
    add("blackhole daemon");
    EXPECT_TRUE(from(8).dropped);
    EXPECT_TRUE(to(8).dropped);
    EXPECT_FALSE(from(20).dropped);
}

TEST_F(FaultInjectorTest, ABlackholeAffectsExistingConnectionsOnly) {
    add("blackhole");
    add("drop next 1");
    injector_.addConnection(2);
    EXPECT_TRUE(from(8).dropped);
    EXPECT_TRUE(injector_.apply({Direction::from, 2, 8, kMessage}).dropped) << "by the drop";
    EXPECT_FALSE(injector_.apply({Direction::from, 2, 8, kMessage}).dropped);
}

TEST_F(FaultInjectorTest, StopsReadingFromThoseItConcerns) {
    add("stall client 20");
    EXPECT_FALSE(injector_.readsFrom(20));
    EXPECT_TRUE(injector_.readsFrom(21));
    EXPECT_TRUE(injector_.readsFrom(std::nullopt));
    EXPECT_EQ(from(20), Delivery{}) << "what is taken in passes";
    add("stall");
    EXPECT_FALSE(injector_.readsFrom(std::nullopt));
}

TEST_F(FaultInjectorTest, RefusesConnectionsWhileTheFaultIsActive) {
    add("refuse 2s");
    EXPECT_TRUE(injector_.refusesConnections());
    EXPECT_EQ(from(20), Delivery{});
    injector_.expire(now_ + 1999ms);
    EXPECT_TRUE(injector_.refusesConnections());
    injector_.expire(now_ + 2s);
    EXPECT_FALSE(injector_.refusesConnections());
}

TEST_F(FaultInjectorTest, EndsEachAtItsTime) {
    add("drop for 2s");
    add("delay 1ms for 1s");
    add("fragment");
    EXPECT_EQ(injector_.nextExpiry(), now_ + 1s);
    injector_.expire(now_ + 1s);
    EXPECT_EQ(injector_.nextExpiry(), now_ + 2s);
    injector_.expire(now_ + 5s);
    EXPECT_EQ(injector_.nextExpiry(), std::nullopt);
    EXPECT_FALSE(from(20).dropped);
    EXPECT_TRUE(to(20).fragmented) << "lasts until clear";
    injector_.clear();
    EXPECT_TRUE(injector_.isIdle());
}

TEST_F(FaultInjectorTest, TheSameFaultAgainRestarts) {
    add("drop next 2");
    EXPECT_TRUE(from(20).dropped);
    now_ += 1s;
    add("drop next 2");
    EXPECT_THAT(countDropped(5), ElementsAre(0, 1)) << "not three in all";
}

TEST_F(FaultInjectorTest, CorruptsSoManyBytesAndNoOther) {
    for (size_t count : {1u, 3u, 10u, 99u}) {
        std::string bytes = "0123456789";
        injector_.corruptBytes(bytes, count);
        size_t changed = 0;
        for (size_t i = 0; i < bytes.size(); ++i) {
            changed += bytes[i] != static_cast<char>('0' + i) ? 1u : 0u;
        }
        EXPECT_EQ(changed, std::min<size_t>(count, 10u));
    }
    std::string nothing;
    injector_.corruptBytes(nothing, 5);
}

TEST_F(FaultInjectorTest, ShowsWhatIsInForceInItsOwnWords) {
    EXPECT_THAT(injector_.describeActive(now_), IsEmpty());
    add("drop every 2 from client 20");
    add("refuse for 3s");
    add("stall");
    countDropped(3);
    EXPECT_THAT(injector_.describeActive(now_ + 500ms),
                ElementsAre("drop every 2 from client 20  # applied to 1 of 3 messages",
                            "refuse for 3s  # 2500ms left", "stall"));
}

}  // namespace
}  // namespace pallbus::faults
