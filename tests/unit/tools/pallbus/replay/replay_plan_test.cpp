#include "pallbus/replay/replay_plan.h"

#include <gmock/gmock.h>

#include "support/captured_log.h"

namespace {

using namespace std::chrono_literals;
using pallbus::replay::parseParticipant;
using pallbus::replay::Participant;
using pallbus::replay::planReplay;
using pallbus::replay::Step;
using recording::Entry;
using testing::ElementsAre;

constexpr auto kConnect = Step::Kind::connect;
constexpr auto kSend = Step::Kind::send;
constexpr auto kExpect = Step::Kind::expect;

std::string message(const std::string& type, const std::string& object, int source,
                    int destination = 0, const std::string& data = "{}") {
    return "[\"" + type + "\", \"" + object + "\", " + std::to_string(source) + ", " +
           std::to_string(destination) + ", 0]\n" + data;
}

std::string login(int id) {
    return message("SET", "system.connection", id, 0,
                   R"({"id":"l@8","param":{"login":{"connID":)" + std::to_string(id) + "}}}");
}

std::string subscription(int id, const std::string& path) {
    return message("SET", "system.connection", id, 0,
                   R"({"id":"s@8","param":{"subscribeList":[{"path":")" + path + "\"}]}}");
}

class ReplayPlanTest : public testing::Test {
  protected:
    // Adds an entry one second after the one before.
    std::string record(int32_t from, const std::string& payload) {
        entries_.push_back({std::chrono::seconds(entries_.size()), from, payload});
        return payload;
    }

    std::vector<Step> plan(const Participant& participant = "system") const {
        return planReplay(entries_, participant);
    }

    std::string problem(const Participant& participant) const {
        try {
            plan(participant);
        } catch (const pallbus::replay::ParticipantNotFound& error) {
            return error.what();
        }
        return "none";
    }

    std::vector<Entry> entries_;
    CapturedLog quiet_;
};

TEST_F(ReplayPlanTest, IsWhatTheDeviceWasSentAndWhatItSaid) {
    const std::string loggedIn = record(8, login(8));
    const std::string welcome = record(0, message("RSP", "system.connection", 0, 8));
    const std::string subscribed = record(8, subscription(8, "system"));
    const std::string get = record(5, message("GET", "system", 5));
    const std::string answer = record(8, message("RSP", "system", 8, 5));
    const std::string announcement = record(8, message("NOT", "system", 8));
    EXPECT_THAT(plan(), ElementsAre(Step{kConnect, 0s, ""}, Step{kExpect, 0s, loggedIn},
                                    Step{kSend, 1s, welcome}, Step{kExpect, 2s, subscribed},
                                    Step{kSend, 3s, get}, Step{kExpect, 4s, answer},
                                    Step{kExpect, 5s, announcement}));
    EXPECT_EQ(plan(8), plan());
}

TEST_F(ReplayPlanTest, LeavesOutWhatWasForOthers) {
    record(5, message("GET", "system", 5));  // nobody was there yet
    record(8, login(8));
    record(8, subscription(8, "system"));
    record(8, message("NOT", "system", 8));
    record(5, login(5));
    record(0, message("RSP", "system.connection", 0, 5));
    record(5, message("GET", "systems", 5));
    record(9, message("RSP", "system", 9, 5));
    record(5, "bytes");
    for (const Step& step : plan()) {
        EXPECT_NE(step.kind, kSend) << step.payload;
    }
}

TEST_F(ReplayPlanTest, LeavesOutHeartbeats) {
    record(8, login(8));
    record(8, message("NOT", "system", 8));
    const size_t steps = plan().size();
    record(8, message("SET", "", 8));
    record(0, message("RSP", "", 0, 8));
    EXPECT_EQ(plan().size(), steps);
}

TEST_F(ReplayPlanTest, FollowsAllPathsThatTheDeviceSubscribed) {
    record(8, login(8));
    record(8, subscription(8, "system"));
    record(8, subscription(8, "frameB.system"));
    record(8, message("NOT", "system", 8));
    record(5, message("SET", "system.below", 5));
    record(5, message("SET", "frameB.system", 5));
    record(5, message("SET", "frameC.system", 5));
    const std::vector<Step> steps = plan();
    EXPECT_EQ(std::ranges::count(steps, kSend, &Step::kind), 2);
}

TEST_F(ReplayPlanTest, ConnectsAgainWhereTheDeviceCameBack) {
    record(8, login(8));
    record(8, message("NOT", "system", 8));
    record(8, login(8));
    std::vector<Step::Kind> kinds;
    for (const Step& step : plan()) {
        kinds.push_back(step.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(kConnect, kExpect, kExpect, kConnect, kExpect));
}

TEST_F(ReplayPlanTest, TakesTheObjectForTheSubscriptionWhereNoLoginIsRecorded) {
    record(5, message("GET", "frameB.system", 5));
    record(5, message("GET", "system", 5));
    record(8, message("RSP", "frameB.system", 8, 5));
    const std::vector<Step> steps = plan("frameB.system");
    ASSERT_EQ(steps.size(), 3U);
    EXPECT_EQ(steps[0], (Step{kConnect, 0s, ""}));
    EXPECT_EQ(steps[1].payload, message("GET", "frameB.system", 5));
    EXPECT_EQ(steps[2].kind, kExpect);
}

TEST_F(ReplayPlanTest, PlaysWhatTheDeviceWasSentBeforeItCameBackForTheFirstTimeOnRecord) {
    record(5, message("GET", "system", 5));
    record(8, message("RSP", "system", 8, 5));
    record(8, login(8));
    std::vector<Step::Kind> kinds;
    for (const Step& step : plan()) {
        kinds.push_back(step.kind);
    }
    EXPECT_THAT(kinds, ElementsAre(kConnect, kSend, kExpect, kConnect, kExpect));
}

TEST_F(ReplayPlanTest, TakesForTheDeviceWhoSaysMostAboutTheObject) {
    record(0, message("NOT", "system", 0));
    record(0, message("NOT", "system", 0));
    record(9, message("RSP", "system", 9, 8));
    EXPECT_EQ(plan().back(), (Step{kExpect, 2s, message("RSP", "system", 9, 8)}))
        << "the bus is no device";
    record(8, message("NOT", "system", 8));
    record(8, message("RSP", "system", 8, 5));
    EXPECT_EQ(plan(), plan(8));
}

TEST_F(ReplayPlanTest, ReportsThatTheParticipantIsNotFound) {
    record(5, login(5));
    record(5, message("GET", "system", 5));
    EXPECT_EQ(problem("system"), "participant \"system\" not found");
    EXPECT_EQ(problem(8), "participant 8 not found");
    EXPECT_EQ(problem(5), "none");
}

TEST(AgainstTest, IsAnIDWhenAllOfItIsANumber) {
    EXPECT_EQ(parseParticipant("8"), Participant(8));
    EXPECT_EQ(parseParticipant("-1"), Participant(-1));
    for (const char* object : {"system", "frameB.system", "8x", "", "99999999999"}) {
        EXPECT_EQ(parseParticipant(object), Participant(std::string(object)));
    }
}

}  // namespace
