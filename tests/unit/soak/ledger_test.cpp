#include "soaking/ledger.h"

#include <gtest/gtest.h>

namespace soak {
namespace {

constexpr Clock::time_point kNow{std::chrono::seconds(100)};

const Parameter& parameter(const std::string& name) {
    for (const Parameter& one : writableParameters()) {
        if (name == one.name) {
            return one;
        }
    }
    throw std::runtime_error("no parameter " + name);
}

Request set(uint64_t number, const std::string& name, const std::string& value) {
    Request request;
    request.number = number;
    request.type = "SET";
    request.parameter = &parameter(name);
    request.announced = request.kept = value;
    return request;
}

Request get(uint64_t number, std::vector<std::string> names) {
    Request request;
    request.number = number;
    request.type = "GET";
    request.answers = names.size();
    request.names = std::move(names);
    return request;
}

TEST(Ledger, SetAnnouncedAndAnsweredIsInOrder) {
    Ledger ledger;
    ledger.sent(set(1, "active", "1"), kNow);
    ledger.notified("active", "1");
    EXPECT_EQ(ledger.outstanding(), 1U);
    EXPECT_TRUE(ledger.answered({1, 200, "", ""}).has_value());
    EXPECT_EQ(ledger.outstanding(), 0U);
    EXPECT_EQ(ledger.acknowledged("active"), "1");
    EXPECT_EQ(ledger.counts().answers, 1U);
    EXPECT_EQ(ledger.counts().lost, 0U);
    EXPECT_EQ(ledger.counts().unannounced, 0U);
    EXPECT_EQ(ledger.counts().wrongStatus, 0U);
}

TEST(Ledger, SetAnsweredWithoutNotificationIsCounted) {
    Ledger ledger;
    ledger.sent(set(1, "active", "1"), kNow);
    ledger.notified("active", "0");
    ledger.notified("systemName", "1");
    ledger.answered({1, 200, "", ""});
    EXPECT_EQ(ledger.counts().unannounced, 1U);
}

TEST(Ledger, OneNotificationAnnouncesOneSet) {
    Ledger ledger;
    ledger.sent(set(1, "active", "1"), kNow);
    ledger.sent(set(2, "active", "1"), kNow);
    ledger.notified("active", "1");
    ledger.answered({1, 200, "", ""});
    ledger.answered({2, 200, "", ""});
    EXPECT_EQ(ledger.counts().unannounced, 1U);
}

TEST(Ledger, AnswerToALaterRequestShowsThatAnEarlierOneIsLost) {
    Ledger ledger;
    ledger.sent(get(1, {"active", "systemName"}), kNow);
    ledger.sent(get(2, {"active"}), kNow);
    ledger.answered({1, 200, "active", "1"});
    ledger.answered({2, 200, "active", "1"});
    EXPECT_EQ(ledger.counts().lost, 1U);
    EXPECT_EQ(ledger.counts().answers, 2U);
    EXPECT_EQ(ledger.outstanding(), 0U);
}

TEST(Ledger, RequestThatIsNeverAnsweredIsLostInTheEnd) {
    Ledger ledger;
    ledger.sent(get(1, {"active"}), kNow);
    ledger.giveUpOn(kNow);
    EXPECT_EQ(ledger.counts().lost, 0U);
    ledger.giveUpOn(kNow + std::chrono::seconds(1));
    EXPECT_EQ(ledger.counts().lost, 1U);
}

TEST(Ledger, WhatAnOutageCutOffIsNotLostButNoLongerKnown) {
    Ledger ledger;
    ledger.sent(set(1, "active", "1"), kNow);
    ledger.notified("active", "1");
    ledger.answered({1, 200, "", ""});
    ledger.sent(set(2, "active", "0"), kNow);
    EXPECT_EQ(ledger.cutOff().size(), 1U);
    EXPECT_EQ(ledger.counts().cutOff, 1U);
    EXPECT_EQ(ledger.counts().lost, 0U);
    EXPECT_EQ(ledger.acknowledged("active"), std::nullopt);
    ledger.sent(get(3, {"active"}), kNow);
    ledger.answered({3, 200, "active", "1"});
    EXPECT_EQ(ledger.counts().wrongValue, 0U) << "either may be so";
}

TEST(Ledger, GetIsHeldAgainstTheSetsBeforeIt) {
    Ledger ledger;
    ledger.sent(set(1, "active", "1"), kNow);
    ledger.sent(get(2, {"active"}), kNow);
    ledger.sent(set(3, "active", "0"), kNow);
    ledger.answered({1, 200, "", ""});
    ledger.answered({2, 200, "active", "0"});
    EXPECT_EQ(ledger.counts().wrongValue, 1U);
}

TEST(Ledger, ValuesThatOthersChangeAreNotHeldAgainstSets) {
    Ledger ledger;
    ledger.sent(set(1, "ipAddress", "167772170"), kNow);
    ledger.sent(get(2, {"ipAddress"}), kNow);
    ledger.answered({1, 200, "", ""});
    ledger.answered({2, 200, "ipAddress", "0"});
    EXPECT_EQ(ledger.counts().wrongValue, 0U);
}

TEST(Ledger, AnswersNobodyAskedForAndOtherStatusesAreCounted) {
    Ledger ledger;
    ledger.sent(get(1, {"active"}), kNow);
    ledger.answered({7, 200, "active", "1"});
    ledger.answered({1, 404, "", ""});
    ledger.answered({1, 200, "active", "1"});
    EXPECT_EQ(ledger.counts().unexpected, 2U);
    EXPECT_EQ(ledger.counts().wrongStatus, 1U);
}

TEST(Ledger, KnowsWhetherANetworkSetIsUnderWay) {
    Ledger ledger;
    ledger.sent(set(1, "active", "1"), kNow);
    EXPECT_FALSE(ledger.networkSetOutstanding());
    ledger.sent(set(2, "gateway", "167772161"), kNow);
    EXPECT_TRUE(ledger.networkSetOutstanding());
}

TEST(Ledger, WhatIsUnderWayOrSentInTroubleMayBeLost) {
    Ledger ledger;
    ledger.sent(get(1, {"active", "systemName"}), kNow);
    ledger.setTrouble(true);
    ledger.sent(get(2, {"active"}), kNow);
    ledger.setTrouble(false);
    ledger.sent(get(3, {"active"}), kNow);
    ledger.sent(get(4, {"active"}), kNow);
    ledger.answered({4, 200, "active", "1"});
    EXPECT_EQ(ledger.counts().excused, 3U);
    EXPECT_EQ(ledger.counts().lost, 1U) << "the third one";
}

TEST(Ledger, WhatIsDamagedInTroubleIsExcused) {
    Ledger ledger;
    ledger.setTrouble(true);
    ledger.sent(set(1, "active", "1"), kNow);
    ledger.answered({1, 404, "", ""});   // neither announced nor answered as it should be
    ledger.answered({77, 200, "", ""});  // nobody asked for that
    EXPECT_EQ(ledger.counts().excused, 3U);
    EXPECT_EQ(ledger.counts().wrongStatus, 0U);
    EXPECT_EQ(ledger.counts().unannounced, 0U);
    EXPECT_EQ(ledger.counts().unexpected, 0U);
    ledger.setTrouble(false);
    ledger.answered({78, 200, "", ""});
    EXPECT_EQ(ledger.counts().unexpected, 1U);
}

}  // namespace
}  // namespace soak
