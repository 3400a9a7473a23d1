// pallctl wait, with a test that is bus and device in one: so it is known what has come before
// what.

#include <optional>

#include <gmock/gmock.h>

#include "program_process.h"
#include "tools/listening_peer.h"

namespace {

class WaitTest : public testing::Test {
  protected:
    void start(const std::vector<std::string>& words) {
        wait_.emplace(pallctlCommand(bus_.port(), words));
        bus_.accept();
    }

    // Takes the reading, and answers that the level is so.
    void answer(const std::string& value) {
        const std::string id = idOfReading();
        bus_.writeFrame(
            "[\"RSP\", \"system\", 8, 0, 0]\n{\"id\":\"" + id +
            R"(","param":{"paramDescriptor":{"type":"device","params":{"d_system.level":)"
            R"({"oid":"system.level","type":"FLOAT","precision":1,"value":)" +
            value + "}}}}}");
    }

    void announce(const std::string& leaf, const std::string& value) {
        bus_.writeFrame("[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"n\",\"param\":{\"" + leaf +
                        "\":" + value + "}}");
    }

    void expectEnd(int status, const std::string& errors) {
        EXPECT_EQ(wait_->wait(), status);
        EXPECT_EQ(wait_->errors(), errors);
    }

    // The last request of a reading is for the whole device.
    std::string idOfReading() {
        std::string bytes;
        while (bytes.find("\"paramDescriptor\"]") == std::string::npos) {
            const std::string more = bus_.read();
            if (more.empty()) {
                ADD_FAILURE() << "no reading in " << bytes;
                return "";
            }
            bytes += more;
        }
        const std::string mark = "{\"id\":\"";
        const size_t begin = bytes.rfind(mark) + mark.size();
        return bytes.substr(begin, bytes.find('"', begin) - begin);
    }

    ListeningPeer bus_;
    std::optional<ProgramProcess> wait_;
};

TEST_F(WaitTest, EndsWhenTheValueIsSo) {
    start({"wait", "level=7"});
    answer("7");
    expectEnd(0, "");
}

TEST_F(WaitTest, TakesForEqualWhatPeopleReadAsEqual) {
    start({"wait", "level=7.0"});
    answer("6.9987");
    expectEnd(0, "");
}

TEST_F(WaitTest, ComparesNumbers) {
    start({"wait", "level>5", "level<=6.5"});
    answer("5");
    announce("level", "7");
    announce("level", "6.5");
    expectEnd(0, "");
}

TEST_F(WaitTest, NamesEachConditionThatIsNotMetInTime) {
    start({"wait", "level!=5", "level>=4", "level<3", "--timeout=0.1", "-k"});
    answer("5");
    expectEnd(9,
              "pallctl: system.level: timed out; the value is 5.0\n"
              "pallctl: system.level: timed out; the value is 5.0\n");
    EXPECT_EQ(wait_->restOfOutput(), "system_level='5.0'\noutcome='timeout'\n");
}

TEST_F(WaitTest, NamesEachMistake) {
    start({"wait", "level<high", "nosuch=1", "level>=7"});
    answer("5");
    answer("5");  // what was not described is asked for once more
    expectEnd(4,
              "pallctl: system.level: must be a number\n"
              "pallctl: system.nosuch: not found\n");
    EXPECT_EQ(pallctl(bus_.port(), {"wait", "level!7"}).errors,
              "pallctl: level!7: needs the form NAME=VALUE, or with != < <= > >=\n");
}

TEST_F(WaitTest, EndsWhenTheValueIsAnnounced) {
    start({"wait", "level=7"});
    answer("5");
    announce("level", "6");
    announce("other", "7");
    announce("level", "7");
    announce("level", "5");
    expectEnd(0, "");
}

TEST_F(WaitTest, ReadsAgainWhenTheDaemonIsNewOnTheBus) {
    start({"wait", "level=7"});
    answer("5");
    announce("frameName", "\"Rack 4\"");
    answer("7");
    expectEnd(0, "");
}

TEST_F(WaitTest, ReadsAgainAfterTheBusWasAway) {
    start({"wait", "level=7"});
    answer("5");
    bus_.hangUp();
    EXPECT_EQ(wait_->readErrorLine(), "pallctl: bus: connection lost, waiting");
    bus_.accept();
    answer("7");
    expectEnd(0, "pallctl: bus: connected again\n");
}

TEST_F(WaitTest, EndsInTimeAlsoWhileTheBusIsAway) {
    start({"wait", "level=7", "--timeout=1"});
    answer("5");
    bus_.stopListening();
    bus_.hangUp();
    expectEnd(9,
              "pallctl: bus: connection lost, waiting\npallctl: system.level: timed out; the value "
              "is 5.0\n");
}

TEST_F(WaitTest, EndsInTimeAlsoWhenTheDeviceAnswersNoMore) {
    start({"wait", "level=7", "--timeout=1"});
    answer("5");
    announce("frameName", "\"Rack 4\"");
    expectEnd(9, "pallctl: system.level: timed out; the value is 5.0\n");
}

TEST_F(WaitTest, EndsInTimeHoweverLongTheBusMayTakeToAppear) {
    start({"wait", "level=7", "--timeout=1", "--wait=3600"});
    answer("5");
    expectEnd(9, "pallctl: system.level: timed out; the value is 5.0\n");
}

TEST_F(WaitTest, ItsTimeBeginsWhenTheDaemonAnswers) {
    start({"wait", "level=7", "--timeout=1", "--wait=3600"});
    for (int half = 0; half < 3; ++half) {
        idOfReading();  // it asks again each half a second
    }
    answer("5");
    announce("level", "7");
    expectEnd(0, "");
}

// So that what goes on behind it does not go on wrongly.
TEST_F(WaitTest, FailsWhenItsReaderGoesBeforeTheValueIsSo) {
    start({"wait", "level=7", "-k"});
    answer("5");
    wait_->closeOutput();
    expectEnd(1, "pallctl: standard output: the reader has gone\n");

    start({"wait", "level=7"});
    wait_->closeOutput();
    expectEnd(1, "pallctl: standard output: the reader has gone\n");
}

TEST_F(WaitTest, KnowsThatItHasNotBegun) {
    start({"wait", "level=7", "--timeout=0.1"});
    expectEnd(5, "pallctl: system: no answer\n");
}

TEST_F(WaitTest, TellsProgramsTheParameterInTheEnd) {
    start({"wait", "level=7", "-k"});
    answer("7");
    expectEnd(0, "");
    EXPECT_EQ(wait_->restOfOutput(), "system_level='7.0'\noutcome='reached'\n");
}

TEST_F(WaitTest, TellsProgramsThatTheTimeIsOverAndWhatTheParameterIs) {
    start({"wait", "level=7", "-k", "--timeout=1"});
    answer("5");
    expectEnd(9, "pallctl: system.level: timed out; the value is 5.0\n");
    EXPECT_EQ(wait_->restOfOutput(), "system_level='5.0'\noutcome='timeout'\n");

    start({"wait", "level=7", "-j", "--timeout=1"});
    answer("5");
    expectEnd(9, "pallctl: system.level: timed out; the value is 5.0\n");
    EXPECT_EQ(wait_->restOfOutput(),
              R"({"system.level":{"name":"system.level","label":"","type":"FLOAT",)"
              R"("readOnly":false,"value":5,"text":"5.0","outcome":"timeout"}})"
              "\n");
}

TEST_F(WaitTest, TellsProgramsWhatKeptItFromBeginning) {
    start({"wait", "nosuch=1", "-k"});
    answer("5");
    answer("5");  // what was not described is asked for once more
    EXPECT_EQ(wait_->wait(), 4);
    EXPECT_EQ(wait_->restOfOutput(), "outcome='notFound'\n");

    start({"wait", "level=high", "-k"});
    answer("5");
    EXPECT_EQ(wait_->wait(), 2);
    EXPECT_EQ(wait_->restOfOutput(), "system_level='5.0'\noutcome='invalid'\n");

    start({"wait", "level=7", "-j", "--timeout=0.1"});
    expectEnd(5, "pallctl: system: no answer\n");
    EXPECT_EQ(wait_->restOfOutput(),
              R"({"system.level":{"name":"system.level","outcome":"noAnswer"}})"
              "\n");

    bus_.stopListening();
    wait_.emplace(pallctlCommand(bus_.port(), {"wait", "level=7", "-k"}));
    EXPECT_EQ(wait_->wait(), 6);
    EXPECT_EQ(wait_->restOfOutput(), "outcome='noBus'\n");
}

}  // namespace
