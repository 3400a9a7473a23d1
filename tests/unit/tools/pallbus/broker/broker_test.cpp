#include "pallbus/broker/broker.h"

#include <gmock/gmock.h>

#include "support/captured_log.h"

namespace pallbus::broker {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

constexpr const char* kOK = R"("statusCode":200,"statusMsg":"OK"})";
constexpr const char* kBad = R"("statusCode":400,"statusMsg":"Bad Request"})";
constexpr const char* kDetails =
    R"("param":{"kelMasterSystemDetails":{)"
    R"("primary":{"ipAddress":"10.1.1.1","present":true,"active":true,"version":"1.0"},)"
    R"("secondary":{"ipAddress":"10.1.1.2","present":true,"active":false,"version":"1.0"}}}})";

// "<length>:<payload>;" as it stands on the wire.
std::string framed(const std::string& payload) {
    return std::to_string(payload.size()) + ":" + payload + ";";
}

// Without what framed() adds.
std::string extractPayload(const std::string& frame) {
    const size_t start = frame.find(':') + 1;
    return frame.substr(start, frame.size() - start - 1);
}

std::string detailsQuestion(int source) {
    return "[\"GET\", \"system\", " + std::to_string(source) +
           R"(, 0, 0])"
           "\n"
           R"({"id":"q@1","param":{"objectName":["kelMasterSystemDetails"]}})";
}

std::string detailsAnswer(int destination) {
    return framed("[\"RSP\", \"system\", 0, " + std::to_string(destination) +
                  ", 0]\n"
                  R"({"id":"q@1","requestCommand":"GET","statusCode":200,"statusMsg":"OK",)" +
                  kDetails);
}

// Three clients: 1 a module with connection id 8 that serves "system", 2 and 3 logged in as 20
// and 30 without subscriptions. Every delivery is kept as (client, frame).
class BrokerTest : public testing::Test {
  protected:
    BrokerTest() {
        for (const ClientID client : {1u, 2u, 3u}) {
            broker_.addClient(client);
        }
        login(1, 8);
        login(2, 20);
        login(3, 30);
        subscribe(1, R"([{"path":"system"}])");
        sent_.clear();
    }

    bool accept(ClientID sender, const std::string& payload) {
        auto bytes = std::make_unique<std::vector<char>>(payload.begin(), payload.end());
        bytes->push_back('\0');
        return broker_.accept(sender, std::move(bytes), now_);
    }

    bool connection(ClientID sender, int source, const std::string& param) {
        return accept(sender, "[\"SET\", \"system.connection\", " + std::to_string(source) +
                                  ", 0, 0]\n{\"id\":\"c@1\",\"param\":" + param + "}");
    }

    void login(ClientID sender, int connectionID) {
        connection(sender, connectionID,
                   R"({"login":{"name":"M","connID":)" + std::to_string(connectionID) +
                       R"(,"version":1}})");
    }

    void subscribe(ClientID sender, const std::string& list) {
        connection(sender, 0, "{\"subscribeList\":" + list + "}");
    }

    Broker::Clock::time_point now_{};
    std::vector<std::pair<ClientID, std::string>> sent_;
    Broker::Deliver deliver_ = [this](ClientID client, const std::string& frame) {
        sent_.emplace_back(client, frame);
    };
    Broker broker_{[this](ClientID client, const std::string& frame) { deliver_(client, frame); }};
    CapturedLog log_;
};

std::string connectionAnswer(int destination, const std::string& status) {
    return framed("[\"RSP\", \"system.connection\", 0, " + std::to_string(destination) +
                  R"(, 0])"
                  "\n"
                  R"({"id":"c@1","requestCommand":"SET",)" +
                  status);
}

TEST_F(BrokerTest, AnswersALogin) {
    login(2, 21);
    EXPECT_THAT(sent_, ElementsAre(Pair(2, connectionAnswer(21, kOK))));
}

TEST_F(BrokerTest, RefusesALoginWithoutConnectionID) {
    connection(2, 5, R"({"login":{"name":"M","connID":"8"}})");
    EXPECT_THAT(sent_, ElementsAre(Pair(2, connectionAnswer(5, kBad))));
    sent_.clear();
    accept(3, "[\"RSP\", \"system\", 30, 20, 0]\n{}");
    EXPECT_THAT(sent_, ElementsAre(Pair(2, framed("[\"RSP\", \"system\", 30, 20, 0]\n{}"))))
        << "the id of before stays";
}

TEST_F(BrokerTest, AnswersASubscribeListAndAddsItToWhatIsThere) {
    subscribe(2, R"([{"path":"a"}])");
    subscribe(2, R"([{"path":"b","receiveAll":true}])");
    EXPECT_THAT(sent_,
                ElementsAre(Pair(2, connectionAnswer(0, kOK)), Pair(2, connectionAnswer(0, kOK))));
    sent_.clear();
    accept(3, "[\"NOT\", \"a\", 30, 0, 0]\n{}");
    accept(3, "[\"NOT\", \"b\", 30, 0, 0]\n{}");
    EXPECT_EQ(sent_.size(), 2u);
}

TEST_F(BrokerTest, RefusesASubscribeListWithoutPathsButTakesTheRest) {
    subscribe(2, R"([{"path":7},{"path":"a"}])");
    subscribe(2, R"({"path":"b"})");
    EXPECT_THAT(
        sent_, ElementsAre(Pair(2, connectionAnswer(0, kBad)), Pair(2, connectionAnswer(0, kBad))));
    sent_.clear();
    accept(3, "[\"NOT\", \"a\", 30, 0, 0]\n{}");
    EXPECT_THAT(sent_, ElementsAre(Pair(2, framed("[\"NOT\", \"a\", 30, 0, 0]\n{}"))));
}

TEST_F(BrokerTest, AnswersHeartbeats) {
    accept(1, "[\"SET\", \"\", 8, 0, 0]\n{\"id\":\"7@1\"}");
    EXPECT_THAT(sent_, ElementsAre(Pair(1, framed("[\"RSP\", \"\", 0, 8, 0]\n"
                                                  R"({"id":"7@1","requestCommand":"SET",)" +
                                                  std::string(kOK)))));
}

TEST_F(BrokerTest, KeepsConnectionTrafficBetweenAClientAndTheBus) {
    subscribe(3, R"([{"path":"","receiveAll":true}])");
    sent_.clear();
    connection(2, 20, "{}");
    accept(2, "[\"SET\", \"\", 20, 0, 0]\n{}");
    accept(2, "[\"GET\", \"system.connection\", 20, 0, 0]\n{}");
    accept(2, "[\"RSP\", \"\", 20, 8, 0]\n{}");
    for (const auto& [client, frame] : sent_) {
        EXPECT_EQ(client, 2u) << frame;
    }
    EXPECT_EQ(sent_.size(), 2u) << "a SET each is answered, nothing else";
}

TEST_F(BrokerTest, PassesRequestsToTheSubscribersByteForByte) {
    for (const char* word : {"GET", "SET", "DEL", "UPDATE", "CMD"}) {
        sent_.clear();
        const std::string payload = "[\"" + std::string(word) +
                                    "\",  \"system\", 20, 0, \"x@y\" ]\n { \"id\" : \"\\u0041\" } ";
        EXPECT_TRUE(accept(2, payload));
        EXPECT_THAT(sent_, ElementsAre(Pair(1, framed(payload)))) << word;
    }
}

TEST_F(BrokerTest, PassesAnnouncementsToEverySubscriberButTheSender) {
    subscribe(2, R"([{"path":"system"}])");
    subscribe(3, R"([{"path":"system"}])");
    for (const char* word : {"NOT", "CMDNOT"}) {
        sent_.clear();
        const std::string payload = "[\"" + std::string(word) + "\", \"system\", 8, 0, 0]\n{}";
        accept(1, payload);
        EXPECT_THAT(sent_, ElementsAre(Pair(2, framed(payload)), Pair(3, framed(payload))));
    }
}

TEST_F(BrokerTest, NeverEchoesARequestToItsSender) {
    accept(1, "[\"SET\", \"system\", 8, 0, 0]\n{}");
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(BrokerTest, DoesNotAnswerForObjectsWithoutSubscribers) {
    EXPECT_TRUE(accept(2, "[\"GET\", \"nobody\", 20, 0, 0]\n{\"id\":\"1@1\"}"));
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(BrokerTest, PassesAnswersToTheRequesterOnly) {
    subscribe(3, R"([{"path":"system"}])");
    for (const char* word : {"RSP", "CMDRSP", "ACK", "NAK"}) {
        sent_.clear();
        const std::string payload = "[\"" + std::string(word) + "\", \"system\", 8, 20, 0]\n{}";
        accept(1, payload);
        EXPECT_THAT(sent_, ElementsAre(Pair(2, framed(payload)))) << word;
    }
}

TEST_F(BrokerTest, ShowsAnswersToThoseWhoReceiveAllOnce) {
    subscribe(3, R"([{"path":"system","receiveAll":true}])");
    subscribe(2, R"([{"path":"system","receiveAll":true}])");
    sent_.clear();
    const std::string payload = "[\"RSP\", \"system\", 8, 20, 0]\n{}";
    accept(1, payload);
    EXPECT_THAT(sent_, ElementsAre(Pair(3, framed(payload)), Pair(2, framed(payload))));
}

TEST_F(BrokerTest, DropsResponsesToUnknownClientsAndToTheSender) {
    accept(1, "[\"RSP\", \"system\", 8, 99, 0]\n{}");
    accept(1, "[\"RSP\", \"system\", 8, 8, 0]\n{}");
    broker_.removeClient(2);
    accept(1, "[\"RSP\", \"system\", 8, 20, 0]\n{}");
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(BrokerTest, DropsWhatIsNoMessage) {
    for (const char* payload : {"x", "{}\n{}", "[\"FOO\", \"system\", 1, 0, 0]\n{}",
                                "[\"GET\", \"system\", 1]\n{}", "[\"GET\", 1, 2, 3, 4]\n{}"}) {
        EXPECT_FALSE(accept(2, payload)) << payload;
    }
    EXPECT_THAT(sent_, IsEmpty());
}

TEST_F(BrokerTest, DropsWhatIsForTheBusAndTooLargeToRead) {
    const std::string login = R"({"login":{"connID":40},"x":")";
    EXPECT_FALSE(connection(2, 20, login + std::string(Broker::kMaxParsedBytes, 'x') + "\"}"));
    EXPECT_EQ(broker_.connectionID(2), 20);
    EXPECT_THAT(sent_, IsEmpty());
    EXPECT_TRUE(connection(2, 20, login + std::string(Broker::kMaxParsedBytes / 2, 'x') + "\"}"));
    EXPECT_EQ(broker_.connectionID(2), 40);
}

TEST_F(BrokerTest, LeavesLargeQuestionsToOthers) {
    const std::string large = std::string(Broker::kMaxQuestionBytes, ' ');
    EXPECT_TRUE(accept(2, detailsQuestion(20) + large));
    EXPECT_THAT(sent_, ElementsAre(Pair(1, framed(detailsQuestion(20) + large))));
    EXPECT_EQ(broker_.nextTimeout(), std::nullopt);
}

TEST_F(BrokerTest, TakesALargeAnswerForNoAnswerToAQuestion) {
    accept(2, detailsQuestion(20));
    const std::string large(Broker::kMaxParsedBytes, ' ');
    accept(1, extractPayload(detailsAnswer(20)) + large);
    EXPECT_EQ(sent_.back(), (std::pair<ClientID, std::string>(
                                2, framed(extractPayload(detailsAnswer(20)) + large))));
    EXPECT_NE(broker_.nextTimeout(), std::nullopt);
}

TEST_F(BrokerTest, SurvivesDataThatIsNoJSON) {
    for (const char* object : {"system", "system.connection", ""}) {
        for (const char* type : {"GET", "SET", "RSP", "NOT"}) {
            accept(2, "[\"" + std::string(type) + "\", \"" + object + "\", 20, 8, 0]\n]]{{\x01");
        }
    }
    EXPECT_FALSE(sent_.empty());
}

TEST_F(BrokerTest, AnswersTheDetailsQuestionAtOnceWithoutOtherClients) {
    accept(1, detailsQuestion(8));
    EXPECT_THAT(sent_, ElementsAre(Pair(1, detailsAnswer(8))));
    EXPECT_EQ(broker_.nextTimeout(), std::nullopt);
}

TEST_F(BrokerTest, LeavesTheDetailsQuestionToOthersForAWhile) {
    accept(2, detailsQuestion(20));
    EXPECT_THAT(sent_, ElementsAre(Pair(1, framed(detailsQuestion(20)))));
    EXPECT_EQ(broker_.nextTimeout(), now_ + 200ms);

    broker_.answerTimedOut(now_ + 199ms);
    EXPECT_EQ(sent_.size(), 1u);
    broker_.answerTimedOut(now_ + 200ms);
    EXPECT_THAT(sent_.back(), Pair(2, detailsAnswer(20)));
    broker_.answerTimedOut(now_ + 1h);
    EXPECT_EQ(sent_.size(), 2u) << "answered once";
    EXPECT_EQ(broker_.nextTimeout(), std::nullopt);
}

TEST_F(BrokerTest, DoesNotAnswerWhatSomebodyElseAnswered) {
    accept(2, detailsQuestion(20));
    accept(1, "[\"RSP\", \"system\", 8, 20, 0]\n{\"id\":\"other\"}");
    EXPECT_NE(broker_.nextTimeout(), std::nullopt) << "the answer to something else";
    accept(1, "[\"RSP\", \"system\", 8, 30, 0]\n{\"id\":\"q@1\"}");
    EXPECT_NE(broker_.nextTimeout(), std::nullopt) << "the answer to somebody else";
    accept(1, "[\"RSP\", \"system\", 8, 20, 0]\n{\"id\":\"q@1\"}");
    EXPECT_EQ(broker_.nextTimeout(), std::nullopt);
}

TEST_F(BrokerTest, AnswersOnTheConnectionThatAskedWhateverSourceItClaims) {
    broker_.removeClient(1);
    accept(3, detailsQuestion(20));
    EXPECT_THAT(sent_, ElementsAre(Pair(3, detailsAnswer(20))));
}

TEST_F(BrokerTest, TakesOnlyThatQuestionForItsOwn) {
    accept(1,
           "[\"SET\", \"system\", 8, 0, 0]\n"
           R"({"param":{"objectName":["kelMasterSystemDetails"]}})");
    accept(1,
           "[\"GET\", \"system.x\", 8, 0, 0]\n"
           R"({"param":{"objectName":["kelMasterSystemDetails"]}})");
    accept(1,
           "[\"GET\", \"system\", 8, 0, 0]\n"
           R"({"param":{"objectName":[7,"ipAddress"]}})");
    EXPECT_THAT(sent_, IsEmpty());
    accept(1,
           "[\"GET\", \"system\", 8, 0, 0]\n"
           R"({"id":"q@1","param":{"objectName":[7,"ipAddress","kelMasterSystemDetails"]}})");
    EXPECT_THAT(sent_, ElementsAre(Pair(1, detailsAnswer(8))));
}

TEST_F(BrokerTest, ForgetsTheQuestionsOfAClientThatLeft) {
    accept(2, detailsQuestion(20));
    broker_.removeClient(2);
    EXPECT_EQ(broker_.nextTimeout(), std::nullopt);
}

TEST_F(BrokerTest, KeepsALimitedNumberOfQuestions) {
    for (size_t question = 0; question < Broker::kMaxPendingQuestions; ++question) {
        accept(2, detailsQuestion(20));
    }
    sent_.clear();
    accept(3, detailsQuestion(30));
    EXPECT_THAT(sent_,
                ElementsAre(Pair(1, framed(detailsQuestion(30))), Pair(2, detailsAnswer(20))))
        << "the oldest is answered early";
}

TEST_F(BrokerTest, LetsClientsGoWhileTheirMessagesAreHandled) {
    subscribe(2, R"([{"path":"system"}])");
    accept(2, detailsQuestion(20));
    accept(2, detailsQuestion(20));
    std::vector<ClientID> reached;
    deliver_ = [&](ClientID client, const std::string&) {
        reached.push_back(client);
        broker_.removeClient(1);
        broker_.removeClient(2);
    };
    accept(3, "[\"NOT\", \"system\", 30, 0, 0]\n{}");
    EXPECT_THAT(reached, ElementsAre(1, 2)) << "both were subscribers when it came";
    broker_.answerTimedOut(now_ + 1h);
    accept(3, "[\"NOT\", \"system\", 30, 0, 0]\n{}");
    EXPECT_EQ(reached.size(), 2u);
}

TEST_F(BrokerTest, LetsAClientGoWhileItsQuestionsAreAnswered) {
    accept(2, detailsQuestion(20));
    accept(2, detailsQuestion(20));
    std::vector<ClientID> reached;
    deliver_ = [&](ClientID client, const std::string&) {
        reached.push_back(client);
        broker_.removeClient(client);
    };
    broker_.answerTimedOut(now_ + 1h);
    EXPECT_THAT(reached, ElementsAre(2));
}

TEST_F(BrokerTest, ShowsAWitnessWhatComesInAndWhatTheBusAnswers) {
    std::vector<std::pair<int32_t, std::string>> seen;
    broker_.setTap([&seen](int32_t from, std::string_view payload) {
        seen.emplace_back(from, std::string(payload));
    });
    const std::string toModule = "[\"SET\", \"system\", 77, 0, 0]\n{\"a\":\"1:2;\"}";
    accept(2, toModule);
    accept(3, "[\"SET\", \"\", 30, 0, 0]\n{\"id\":\"h@1\"}");
    accept(1, detailsQuestion(8));
    EXPECT_THAT(
        seen,
        ElementsAre(Pair(20, toModule), Pair(30, "[\"SET\", \"\", 30, 0, 0]\n{\"id\":\"h@1\"}"),
                    Pair(0, R"(["RSP", "", 0, 30, 0])"
                            "\n"
                            R"({"id":"h@1","requestCommand":"SET",)" +
                                std::string(kOK)),
                    Pair(8, detailsQuestion(8)), Pair(0, extractPayload(detailsAnswer(8)))));
}

TEST_F(BrokerTest, TapSeesTheSourceOfAMessageWithoutLoginAndNoSenderOfOtherBytes) {
    std::vector<int32_t> seen;
    broker_.setTap([&seen](int32_t from, std::string_view) { seen.push_back(from); });
    broker_.addClient(4);
    accept(4, "[\"NOT\", \"a\", 41, 0, 0]\n{}");
    connection(4, 42, R"({"login":{"name":"M","connID":43,"version":1}})");
    accept(4, "[\"NOT\", \"a\", 41, 0, 0]\n{}");
    broker_.addClient(5);
    EXPECT_FALSE(accept(5, "bytes"));
    EXPECT_THAT(seen, ElementsAre(41, 42, 0, 43, Broker::kUnknownSender));
}

TEST_F(BrokerTest, ShowsAWitnessAnAnswerWhenItIsGiven) {
    subscribe(2, R"([{"path":"system"}])");
    std::vector<int32_t> seen;
    broker_.setTap([&seen](int32_t from, std::string_view) { seen.push_back(from); });
    accept(3, detailsQuestion(30));
    EXPECT_THAT(seen, ElementsAre(30));
    broker_.answerTimedOut(now_ + 200ms);
    EXPECT_THAT(seen, ElementsAre(30, 0));
}

}  // namespace
}  // namespace pallbus::broker
