#include "pallbus/replay/message.h"

#include <gmock/gmock.h>

#include "support/captured_log.h"

namespace {

using pallbus::replay::describeMessage;
using pallbus::replay::joinNames;
using pallbus::replay::parseMessage;
using pallbus::replay::replaceID;

class ReplayMessageTest : public testing::Test {
  protected:
    CapturedLog quiet_;
};

TEST_F(ReplayMessageTest, TellsWhatAMessageIsAbout) {
    const auto get = parseMessage(
        "[\"GET\", \"system\", 5, 0, 0]\n"
        R"({"id":"1@5","param":{"objectName":["a","b"]}})");
    EXPECT_EQ(describeMessage(get), "GET system");
    EXPECT_EQ(joinNames(get), "a,b");
    const auto descriptors = parseMessage(
        "[\"GET\", \"system\", 5, 0, 0]\n"
        R"({"id":"1@5","paramDescriptor":{"objectName":["c"]}})");
    EXPECT_EQ(joinNames(descriptors), "c");
    const auto announcement = parseMessage(
        "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"9@8\",\"param\":{\"d\":1,\"e\":2}}");
    EXPECT_EQ(describeMessage(announcement), "NOT system");
    EXPECT_EQ(joinNames(announcement), "d,e");
    const auto answer = parseMessage(
        "[\"RSP\", \"system\", 8, 5, 0]\n"
        R"({"id":"1@5","statusCode":200,"param":{"a":1}})");
    EXPECT_EQ(describeMessage(answer), "RSP system 1@5");
    EXPECT_EQ(joinNames(answer), "a");
    EXPECT_EQ(answer.destination, 5);
}

TEST_F(ReplayMessageTest, KnowsAnswersHeartbeatsAndLogins) {
    const auto heartbeat = parseMessage("[\"SET\", \"\", 8, 0, 0]\n{\"id\":\"1@8\"}");
    EXPECT_TRUE(isHeartbeat(heartbeat));
    EXPECT_FALSE(isResponse(heartbeat));
    EXPECT_FALSE(isLogin(heartbeat));
    const auto login = parseMessage(
        "[\"SET\", \"system.connection\", 8, 0, 0]\n"
        R"({"id":"1@8","param":{"login":{"connID":8}}})");
    EXPECT_TRUE(isLogin(login));
    EXPECT_FALSE(isHeartbeat(login));
    for (const char* type : {"RSP", "CMDRSP", "ACK", "NAK"}) {
        EXPECT_TRUE(isResponse(parseMessage("[\"" + std::string(type) + "\", \"\", 8, 5, 0]\n{}")));
    }
    EXPECT_FALSE(isResponse(parseMessage("[\"NOT\", \"a\", 8, 5, 0]\n{}")));
}

TEST_F(ReplayMessageTest, MakesNothingOfWhatIsNoMessage) {
    using namespace std::string_literals;
    for (const std::string& payload : {""s, "bytes"s, "\0\n{}"s, "[\"FOO\", \"a\", 1, 0]\n{}"s}) {
        const auto message = parseMessage(payload);
        EXPECT_EQ(describeMessage(message), "invalid message");
        EXPECT_EQ(joinNames(message), "");
        EXPECT_EQ(message.id, "");
        EXPECT_FALSE(isHeartbeat(message));
        EXPECT_FALSE(isLogin(message));
    }
}

TEST_F(ReplayMessageTest, ReadsMessagesWithoutUsableData) {
    for (const char* data : {"", "{", "[1]", "7", R"({"id":7,"param":"text"})"}) {
        const auto message = parseMessage("[\"SET\", \"a\", 5, 0, 0]\n" + std::string(data));
        EXPECT_EQ(describeMessage(message), "SET a") << data;
        EXPECT_EQ(joinNames(message), "") << data;
        EXPECT_EQ(message.id, "") << data;
    }
}

TEST_F(ReplayMessageTest, GivesAPayloadAnotherID) {
    EXPECT_EQ(replaceID("[\"RSP\", \"a\", 0, 8, 0]\n{\"id\":\"1@8\",\"param\":{\"b\":[1]}}", "7@8"),
              "[\"RSP\", \"a\", 0, 8, 0]\n{\"id\":\"7@8\",\"param\":{\"b\":[1]}}");
    for (const char* payload : {"", "bytes", "[\"RSP\", \"a\", 0, 8, 0]\n{}", "[]\n{\"id\""}) {
        EXPECT_EQ(replaceID(payload, "7@8"), payload);
    }
}

}  // namespace
