#include "soak_lib/request_tracker.h"

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

class RequestTrackerTest : public testing::Test {
  protected:
    ExpectedSettings settings_;
    RequestTracker tracker_{settings_};
};

TEST_F(RequestTrackerTest, SetAnnouncedAndAnsweredIsInOrder) {
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.notified("active", "1");
    EXPECT_EQ(tracker_.pending(), 1U);
    tracker_.answered({1, 200, "", ""});
    EXPECT_EQ(tracker_.pending(), 0U);
    EXPECT_EQ(settings_.value("active"), "1");
    EXPECT_EQ(tracker_.counts().answers, 1U);
    EXPECT_EQ(tracker_.counts().lost, 0U);
    EXPECT_EQ(tracker_.counts().unannounced, 0U);
    EXPECT_EQ(tracker_.counts().wrongStatus, 0U);
}

TEST_F(RequestTrackerTest, SetAnsweredWithoutNotificationIsCounted) {
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.notified("active", "0");
    tracker_.notified("systemName", "1");
    tracker_.answered({1, 200, "", ""});
    EXPECT_EQ(tracker_.counts().unannounced, 1U);
}

TEST_F(RequestTrackerTest, OneNotificationAnnouncesOneSet) {
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.sent(set(2, "active", "1"), kNow);
    tracker_.notified("active", "1");
    tracker_.answered({1, 200, "", ""});
    tracker_.answered({2, 200, "", ""});
    EXPECT_EQ(tracker_.counts().unannounced, 1U);
}

TEST_F(RequestTrackerTest, AnswerToALaterRequestShowsThatAnEarlierOneIsLost) {
    tracker_.sent(get(1, {"active", "systemName"}), kNow);
    tracker_.sent(get(2, {"active"}), kNow);
    tracker_.answered({1, 200, "active", "1"});
    tracker_.answered({2, 200, "active", "1"});
    EXPECT_EQ(tracker_.counts().lost, 1U);
    EXPECT_EQ(tracker_.counts().answers, 2U);
    EXPECT_EQ(tracker_.pending(), 0U);
}

TEST_F(RequestTrackerTest, RequestThatIsNotAnsweredInTimeIsLost) {
    tracker_.sent(get(1, {"active"}), kNow);
    tracker_.expire(kNow);
    EXPECT_EQ(tracker_.counts().lost, 0U);
    tracker_.expire(kNow + std::chrono::seconds(1));
    EXPECT_EQ(tracker_.counts().lost, 1U);
}

TEST_F(RequestTrackerTest, WhatADisconnectCutOffInAFaultIsNotLostButUnknown) {
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.notified("active", "1");
    tracker_.answered({1, 200, "", ""});
    tracker_.sent(set(2, "active", "0"), kNow);
    tracker_.setExcused(true);
    tracker_.expire(Clock::time_point::max());
    tracker_.setExcused(false);
    EXPECT_EQ(tracker_.counts().excused, 1U);
    EXPECT_EQ(tracker_.counts().lost, 0U);
    EXPECT_EQ(settings_.value("active"), std::nullopt);
    tracker_.sent(get(3, {"active"}), kNow);
    tracker_.answered({3, 200, "active", "1"});
    EXPECT_EQ(tracker_.counts().wrongValue, 0U) << "either may be so";
}

TEST_F(RequestTrackerTest, WhatIsSetDuringAFaultIsUnknownEvenIfAnswered) {
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.setExcused(true);
    tracker_.sent(set(2, "systemName", "\"a\""), kNow);
    tracker_.setExcused(false);
    tracker_.sent(get(3, {"active", "systemName"}), kNow);
    tracker_.answered({1, 200, "", ""});
    tracker_.answered({2, 200, "", ""});
    tracker_.answered({3, 200, "active", "0"});
    tracker_.answered({3, 200, "systemName", "\"b\""});
    EXPECT_EQ(tracker_.counts().wrongValue, 0U) << "the sets may have been damaged";
    EXPECT_EQ(settings_.value("active"), std::nullopt);
    EXPECT_EQ(settings_.value("systemName"), std::nullopt);
    tracker_.sent(set(4, "active", "1"), kNow);
    tracker_.sent(get(5, {"active"}), kNow);
    tracker_.notified("active", "1");
    tracker_.answered({4, 200, "", ""});
    tracker_.answered({5, 200, "active", "0"});
    EXPECT_EQ(tracker_.counts().wrongValue, 1U) << "the fault is over";
}

TEST_F(RequestTrackerTest, GetIsComparedWithTheSetsBeforeIt) {
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.sent(get(2, {"active"}), kNow);
    tracker_.sent(set(3, "active", "0"), kNow);
    tracker_.answered({1, 200, "", ""});
    tracker_.answered({2, 200, "active", "0"});
    EXPECT_EQ(tracker_.counts().wrongValue, 1U);
}

TEST_F(RequestTrackerTest, ValuesThatOthersChangeAreNotComparedWithSets) {
    tracker_.sent(set(1, "ipAddress", "167772170"), kNow);
    tracker_.sent(get(2, {"ipAddress"}), kNow);
    tracker_.answered({1, 200, "", ""});
    tracker_.answered({2, 200, "ipAddress", "0"});
    EXPECT_EQ(tracker_.counts().wrongValue, 0U);
}

TEST_F(RequestTrackerTest, AnswersToNoRequestAndOtherStatusesAreCounted) {
    tracker_.sent(get(1, {"active"}), kNow);
    tracker_.answered({7, 200, "active", "1"});
    tracker_.answered({1, 404, "", ""});
    tracker_.answered({1, 200, "active", "1"});
    EXPECT_EQ(tracker_.counts().unexpected, 2U);
    EXPECT_EQ(tracker_.counts().wrongStatus, 1U);
}

TEST_F(RequestTrackerTest, KnowsWhetherANetworkSetIsPending) {
    tracker_.sent(set(1, "active", "1"), kNow);
    EXPECT_FALSE(tracker_.isNetworkSetPending());
    tracker_.sent(set(2, "gateway", "167772161"), kNow);
    EXPECT_TRUE(tracker_.isNetworkSetPending());
}

TEST_F(RequestTrackerTest, WhatIsPendingOrSentInAFaultMayBeLost) {
    tracker_.sent(get(1, {"active", "systemName"}), kNow);
    tracker_.setExcused(true);
    tracker_.sent(get(2, {"active"}), kNow);
    tracker_.setExcused(false);
    tracker_.sent(get(3, {"active"}), kNow);
    tracker_.sent(get(4, {"active"}), kNow);
    tracker_.answered({4, 200, "active", "1"});
    EXPECT_EQ(tracker_.counts().excused, 3U);
    EXPECT_EQ(tracker_.counts().lost, 1U) << "the third one";
}

TEST_F(RequestTrackerTest, WhatIsDamagedInAFaultIsExcused) {
    tracker_.setExcused(true);
    tracker_.sent(set(1, "active", "1"), kNow);
    tracker_.answered({1, 404, "", ""});   // neither announced nor answered as it should be
    tracker_.answered({77, 200, "", ""});  // the answer to no request
    EXPECT_EQ(tracker_.counts().excused, 3U);
    EXPECT_EQ(tracker_.counts().wrongStatus, 0U);
    EXPECT_EQ(tracker_.counts().unannounced, 0U);
    EXPECT_EQ(tracker_.counts().unexpected, 0U);
    tracker_.setExcused(false);
    tracker_.answered({78, 200, "", ""});
    EXPECT_EQ(tracker_.counts().unexpected, 1U);
}

}  // namespace
}  // namespace soak
