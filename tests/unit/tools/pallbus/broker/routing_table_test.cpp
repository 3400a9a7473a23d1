#include "pallbus/broker/routing_table.h"

#include <gmock/gmock.h>

namespace pallbus::broker {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr ClientID kNobody = 0;

class RoutingTableTest : public testing::Test {
  protected:
    RoutingTableTest() {
        for (const ClientID client : {1u, 2u, 3u}) {
            table_.addClient(client);
        }
    }

    RoutingTable table_;
};

TEST_F(RoutingTableTest, MatchesPathsElementByElement) {
    table_.subscribe(1, "system", false);
    for (const char* object : {"system", "system.connection", "system.a.b", "system."}) {
        EXPECT_THAT(table_.subscribers(object, kNobody), ElementsAre(1)) << object;
    }
    for (const char* object : {"", "sys", "systems", "frameB.system", "System", ".system"}) {
        EXPECT_THAT(table_.subscribers(object, kNobody), IsEmpty()) << object;
    }
}

TEST_F(RoutingTableTest, MatchesALongPathOnlyBelowIt) {
    table_.subscribe(1, "frameB.system", false);
    EXPECT_THAT(table_.subscribers("frameB.system", kNobody), ElementsAre(1));
    EXPECT_THAT(table_.subscribers("frameB.system.x", kNobody), ElementsAre(1));
    EXPECT_THAT(table_.subscribers("frameB", kNobody), IsEmpty());
}

TEST_F(RoutingTableTest, TakesTheEmptyPathForEveryObject) {
    table_.subscribe(2, "", false);
    EXPECT_THAT(table_.subscribers("system", kNobody), ElementsAre(2));
    EXPECT_THAT(table_.subscribers("", kNobody), ElementsAre(2));
}

TEST_F(RoutingTableTest, NamesSubscribersInTheOrderOfTheirConnectingWithoutTheSender) {
    for (const ClientID client : {3u, 1u, 2u}) {
        table_.subscribe(client, "system", false);
    }
    EXPECT_THAT(table_.subscribers("system", kNobody), ElementsAre(1, 2, 3));
    EXPECT_THAT(table_.subscribers("system", 2), ElementsAre(1, 3));
}

TEST_F(RoutingTableTest, NamesASubscriberOnceHoweverManyOfItsPathsMatch) {
    table_.subscribe(1, "system", false);
    table_.subscribe(1, "system.a", false);
    EXPECT_THAT(table_.subscribers("system.a", kNobody), ElementsAre(1));
}

TEST_F(RoutingTableTest, KnowsWhoReceivesAllOfAnObject) {
    table_.subscribe(1, "system", false);
    table_.subscribe(2, "system", true);
    table_.subscribe(3, "other", true);
    EXPECT_THAT(table_.receiveAllSubscribers("system", kNobody), ElementsAre(2));
    EXPECT_THAT(table_.receiveAllSubscribers("system", 2), IsEmpty());
    table_.subscribe(2, "system", false);
    EXPECT_THAT(table_.receiveAllSubscribers("system", kNobody), IsEmpty());
}

TEST_F(RoutingTableTest, FindsTheHolderOfAConnectionID) {
    EXPECT_EQ(table_.clientForConnectionID(8), std::nullopt);
    table_.login(1, 8);
    EXPECT_EQ(table_.clientForConnectionID(8), 1u);
    EXPECT_EQ(table_.clientForConnectionID(1), std::nullopt);
}

TEST_F(RoutingTableTest, PassesAConnectionIDToTheLatestLogin) {
    table_.login(1, 8);
    table_.login(2, 8);
    EXPECT_EQ(table_.clientForConnectionID(8), 2u);
    table_.removeClient(1);
    EXPECT_EQ(table_.clientForConnectionID(8), 2u);
}

TEST_F(RoutingTableTest, LetsAClientHaveOneConnectionID) {
    table_.login(1, 8);
    table_.login(1, 9);
    EXPECT_EQ(table_.clientForConnectionID(8), std::nullopt);
    EXPECT_EQ(table_.clientForConnectionID(9), 1u);
}

TEST_F(RoutingTableTest, ForgetsAClientThatLeft) {
    table_.login(1, 8);
    table_.subscribe(1, "system", true);
    table_.removeClient(1);
    EXPECT_EQ(table_.clientForConnectionID(8), std::nullopt);
    EXPECT_THAT(table_.subscribers("system", kNobody), IsEmpty());
    EXPECT_FALSE(table_.subscribe(1, "system", true));
}

TEST_F(RoutingTableTest, KeepsWhatOthersWantWhenOneOfThemLeaves) {
    for (const ClientID client : {1u, 2u}) {
        table_.subscribe(client, "system", false);
    }
    table_.removeClient(1);
    EXPECT_THAT(table_.subscribers("system.a", kNobody), ElementsAre(2));
}

TEST_F(RoutingTableTest, KnowsUnderWhichIDAClientLoggedIn) {
    EXPECT_EQ(table_.connectionID(1), std::nullopt);
    table_.login(1, 8);
    table_.login(2, 8);
    EXPECT_EQ(table_.connectionID(1), 8) << "it is who it was, though not reached any more";
    EXPECT_EQ(table_.connectionID(2), 8);
    table_.removeClient(2);
    EXPECT_EQ(table_.connectionID(2), std::nullopt);
}

TEST_F(RoutingTableTest, TakesNoLoginOfAClientThatIsNotThere) {
    table_.login(7, 8);
    EXPECT_EQ(table_.clientForConnectionID(8), std::nullopt);
}

TEST_F(RoutingTableTest, TakesPathsOfALimitedLength) {
    const std::string longest(RoutingTable::kMaxPathBytes, 'a');
    EXPECT_TRUE(table_.subscribe(1, longest, false));
    EXPECT_FALSE(table_.subscribe(1, longest + 'a', false));
    EXPECT_THAT(table_.subscribers(longest, kNobody), ElementsAre(1));
    EXPECT_THAT(table_.subscribers(longest + ".b", kNobody), ElementsAre(1));
    EXPECT_THAT(table_.subscribers(longest + "a", kNobody), IsEmpty());
}

// A table that tried every beginning of the name would still be at it tomorrow.
TEST_F(RoutingTableTest, FindsTheSubscribersOfANameOfMillionsOfElements) {
    table_.subscribe(1, "system.", false);
    EXPECT_THAT(table_.subscribers("system" + std::string(10'000'000, '.'), kNobody),
                ElementsAre(1));
}

TEST_F(RoutingTableTest, RemembersALimitedNumberOfPathsOfAClient) {
    for (size_t path = 0; path < RoutingTable::kMaxSubscriptions; ++path) {
        ASSERT_TRUE(table_.subscribe(1, "object" + std::to_string(path), false));
    }
    EXPECT_FALSE(table_.subscribe(1, "one.more", false));
    EXPECT_TRUE(table_.subscribe(1, "object7", true));
    EXPECT_TRUE(table_.subscribe(2, "one.more", false));
    EXPECT_THAT(table_.subscribers("one.more", kNobody), ElementsAre(2));
    EXPECT_THAT(table_.receiveAllSubscribers("object7", kNobody), ElementsAre(1));
}

}  // namespace
}  // namespace pallbus::broker
