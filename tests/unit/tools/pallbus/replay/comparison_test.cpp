#include "pallbus/replay/comparison.h"

#include <gmock/gmock.h>

#include "support/captured_log.h"

namespace {

using namespace std::chrono_literals;
using pallbus::replay::Comparison;
using pallbus::replay::Deviation;
using pallbus::replay::IgnoredNames;
using pallbus::replay::Report;
using pallbus::replay::Step;
using testing::ElementsAre;
using testing::IsEmpty;

std::string announcement(const std::string& name, const std::string& value,
                         const std::string& id = "n@8") {
    return "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"" + id + "\",\"param\":{\"" + name +
           "\":" + value + "}}";
}

std::string answer(const std::string& id, int status, const std::string& param = "{}") {
    return "[\"RSP\", \"system\", 8, 5, 0]\n{\"id\":\"" + id +
           "\",\"statusCode\":" + std::to_string(status) + ",\"param\":" + param + "}";
}

class ComparisonTest : public testing::Test {
  protected:
    // One step each second.
    void expect(const std::string& payload) {
        steps_.push_back({Step::Kind::expect, std::chrono::seconds(steps_.size()), payload});
    }

    // What a device that sends these messages did otherwise; they come at second 100.
    Report compare(const std::vector<std::string>& got, const IgnoredNames& ignored = {}) const {
        Comparison comparison(steps_, ignored);
        for (const std::string& payload : got) {
            comparison.addMessage(100s, payload);
        }
        return comparison.report();
    }

    std::vector<Step> steps_;
    CapturedLog quiet_;
};

TEST_F(ComparisonTest, FindsNothingWhereOnlyTheDevicesOwnIDsAndTheOrderOfSubjectsDiffer) {
    expect(announcement("a", "1", "1@8"));
    expect(announcement("b", "2", "2@8"));
    expect(answer("1@5", 200, R"({"a":1})"));
    const Report report = compare({answer("1@5", 200, R"({"a":1})"), announcement("b", "2", "7@9"),
                                   announcement("a", "1", "8@9")});
    EXPECT_THAT(report.deviations, IsEmpty());
    EXPECT_EQ(report.compared, 3U);
}

TEST_F(ComparisonTest, NamesAnotherValue) {
    expect(announcement("a", "1"));
    expect(answer("1@5", 200));
    const Report report = compare({announcement("a", "2"), answer("1@5", 404)});
    EXPECT_THAT(report.deviations,
                ElementsAre(Deviation{0s, "NOT system param.a", "1", "2"},
                            Deviation{1s, "RSP system 1@5 statusCode", "200", "404"}));
    EXPECT_EQ(report.different, 2U);
    EXPECT_EQ(report.missing + report.extra, 0U);
}

TEST_F(ComparisonTest, NamesWhatIsMissingAndWhatIsTooMany) {
    expect(announcement("a", "1"));
    expect(answer("1@5", 200, R"({"b":2})"));
    const Report report = compare({announcement("c", "3"), answer("2@5", 200)});
    EXPECT_THAT(report.deviations,
                ElementsAre(Deviation{0s, "NOT system a", R"({"a":1})", "nothing"},
                            Deviation{1s, "RSP system 1@5 b", R"({"b":2})", "nothing"},
                            Deviation{100s, "NOT system c", "nothing", R"({"c":3})"},
                            Deviation{100s, "RSP system 2@5", "nothing", "{}"}));
    EXPECT_EQ(report.missing, 2U);
    EXPECT_EQ(report.extra, 2U);
    EXPECT_EQ(report.different, 0U);
}

TEST_F(ComparisonTest, KeepsTheOrderOfOneName) {
    expect(announcement("a", "1"));
    expect(announcement("a", "2"));
    EXPECT_THAT(compare({announcement("a", "1"), announcement("a", "2")}).deviations, IsEmpty());
    EXPECT_EQ(compare({announcement("a", "2"), announcement("a", "1")}).deviations.size(), 2U);
}

TEST_F(ComparisonTest, FindsItsWayBehindOneThatIsMissingOrTooMany) {
    std::vector<std::string> got;
    for (int value = 0; value < 50; ++value) {
        expect(announcement("a", std::to_string(value)));
        if (value != 10) {
            got.push_back(announcement("a", std::to_string(value)));
        }
        if (value == 30) {
            got.push_back(announcement("a", "\"new\""));
        }
        if (value == 40) {
            got.back() = announcement("a", "\"other\"");
        }
    }
    EXPECT_THAT(compare(got).deviations,
                ElementsAre(Deviation{10s, "NOT system a", R"({"a":10})", "nothing"},
                            Deviation{40s, "NOT system param.a", "40", "\"other\""},
                            Deviation{100s, "NOT system a", "nothing", R"({"a":"new"})"}));
}

TEST_F(ComparisonTest, TakesOneThatIsOtherwiseForOneWhereTheNextIsTheSame) {
    for (const char* value : {"1", "2", "1", "2"}) {
        expect(announcement("a", value));
    }
    EXPECT_THAT(compare({announcement("a", "3"), announcement("a", "2"), announcement("a", "1"),
                         announcement("a", "2")})
                    .deviations,
                ElementsAre(Deviation{0s, "NOT system param.a", "1", "3"}));
}

TEST_F(ComparisonTest, HoldsEachOfSeveralAnswersToOneRequestAgainstItsOwn) {
    expect(answer("1@5", 200, R"({"a":1})"));
    expect(answer("1@5", 200, R"({"b":2})"));
    EXPECT_THAT(compare({answer("1@5", 200, R"({"b":2})")}).deviations,
                ElementsAre(Deviation{0s, "RSP system 1@5 a", R"({"a":1})", "nothing"}));
}

TEST_F(ComparisonTest, LeavesOutHeartbeatsAndAnnouncementsOfIgnoredNames) {
    expect("[\"SET\", \"\", 8, 0, 0]\n{\"id\":\"1@8\"}");
    expect(announcement("volts", "1"));
    expect(answer("1@5", 200, R"({"volts":1})"));
    const Report report = compare({announcement("volts", "2"), announcement("volts", "3"),
                                   answer("1@5", 200, R"({"volts":2})")},
                                  {"volts"});
    EXPECT_THAT(report.deviations, IsEmpty());
    EXPECT_EQ(report.compared, 1U);
    EXPECT_EQ(compare({}, {"volts"}).missing, 1U) << "the answer itself is still due";
}

TEST_F(ComparisonTest, ComparesWhatIsNoMessageByItsBytes) {
    expect("bytes");
    EXPECT_THAT(compare({"bytes"}).deviations, IsEmpty());
    EXPECT_EQ(compare({"other bytes"}).different, 1U);
    EXPECT_EQ(compare({}).missing, 1U);
}

TEST_F(ComparisonTest, NamesALostConnection) {
    Comparison comparison(steps_, {});
    comparison.addDisconnect(7s);
    EXPECT_THAT(comparison.report().deviations,
                ElementsAre(Deviation{7s, "connection", "open", "closed"}));
    EXPECT_EQ(comparison.report().disconnects, 1U);
}

TEST_F(ComparisonTest, AwaitsWhatHasNotComeAndIsNotGivenUp) {
    expect(announcement("a", "1"));
    expect(announcement("a", "2"));
    expect(announcement("b", "1"));
    expect(announcement("volts", "1"));
    Comparison comparison(steps_, {"volts"});
    EXPECT_TRUE(comparison.isExpected(0));
    comparison.addMessage(0s, announcement("a", "3"));
    EXPECT_FALSE(comparison.isExpected(0)) << "something about it has come";
    EXPECT_TRUE(comparison.isExpected(1));
    EXPECT_FALSE(comparison.isExpected(3)) << "nobody compares it";
    comparison.timeOut(1);
    EXPECT_FALSE(comparison.isExpected(1));
    EXPECT_TRUE(comparison.isExpected(2));
}

TEST_F(ComparisonTest, GivesAnAnswerToTheDeviceTheIDThatItsRequestHasToday) {
    const auto question = [](const std::string& id) {
        return "[\"GET\", \"system\", 8, 0, 0]\n{\"id\":\"" + id +
               "\",\"param\":{\"objectName\":[\"d\"]}}";
    };
    const auto reply = [](const std::string& id) {
        return "[\"RSP\", \"system\", 0, 8, 0]\n{\"id\":\"" + id + "\",\"statusCode\":200}";
    };
    expect(question("3@8"));
    expect(question("9@8"));
    Comparison comparison(steps_, {});
    EXPECT_EQ(comparison.rewriteIDs(reply("3@8")), reply("3@8")) << "not asked yet";
    comparison.addMessage(0s, question("30@800"));
    comparison.addMessage(0s, question("31@800"));
    EXPECT_EQ(comparison.rewriteIDs(reply("3@8")), reply("30@800"));
    EXPECT_EQ(comparison.rewriteIDs(reply("9@8")), reply("31@800"));
    EXPECT_EQ(comparison.rewriteIDs(question("3@8")), question("3@8")) << "requests keep theirs";
}

}  // namespace
