#include "bus/messages.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bus/netstring.h"
#include "bus/netstring_stream_parser.h"
#include "payloads.h"
#include "support/captured_log.h"

namespace {

util::UniqueJSON parsed(const std::string& text) {
    return util::parseJSON(text.data(), text.size());
}

const std::string kIdPlace = "<id>";

// The payload with the id, which differs from run to run, replaced by its place.
std::string payloadOf(const TarnInternalMessage& message) {
    std::string payload = message.encode();
    const size_t at = payload.find(message.uniqueId());
    return at == std::string::npos ? payload
                                   : payload.replace(at, message.uniqueId().size(), kIdPlace);
}

// A GET from connection 8 with a telling id.
TarnInternalMessage request(const std::string& type = "GET") {
    return received("[\"" + type + "\", \"system\", 8, 0, 0]\n{\"id\":\"77@there\"}");
}

std::string answerTo8(const std::string& data) {
    return "[\"RSP\", \"system\", 0, 8, 0]\n{\"id\":\"77@there\"," + data + "}";
}

TEST(NewRequests, GetTheNextIdOfTheProcess) {
    const GETMessage first("system", nullptr);
    const NOTMessage second("system", "a", nullptr);
    EXPECT_EQ(std::stoull(second.uniqueId()), std::stoull(first.uniqueId()) + 1);
    EXPECT_NE(first.uniqueId().find('@'), std::string::npos);
    EXPECT_STREQ(util::jsonText(util::jsonMember(first.data(), "id")), first.uniqueId().c_str());
}

TEST(NewRequests, HaveNoEndsYet) {
    const SETMessage message("system", nullptr);
    EXPECT_EQ(message.source(), 0);
    EXPECT_EQ(message.header().destination, 0);
    EXPECT_FALSE(message.header().scheduled.isScheduled());
}

TEST(GetMessages, AskWithAParam) {
    EXPECT_EQ(payloadOf(GETMessage("system", parsed("{\"a\":1}"))),
              "[\"GET\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":{\"a\":1}}");
}

TEST(GetMessages, AskForNames) {
    EXPECT_EQ(payloadOf(GETMessage("system", {"kelMasterSystemDetails"}, nullptr, 0)),
              "[\"GET\", \"system\", 0, 0, 0]\n"
              "{\"id\":\"<id>\",\"param\":{\"objectName\":[\"kelMasterSystemDetails\"]}}");
    EXPECT_EQ(payloadOf(GETMessage("system", std::vector<std::string>(), nullptr, 0)),
              "[\"GET\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":{\"objectName\":[]}}");
}

TEST(GetMessages, AskForNamesWithArguments) {
    EXPECT_EQ(payloadOf(GETMessage("system", {"a", "b"}, parsed("[1]"), 0)),
              "[\"GET\", \"system\", 0, 0, 0]\n"
              "{\"id\":\"<id>\",\"param\":{\"objectName\":[\"a\",\"b\"],\"arguments\":[1]}}");
}

TEST(GetMessages, AskForDescriptorsWhenTheFlagIsOne) {
    EXPECT_EQ(payloadOf(GETMessage("system", {"a"}, nullptr, 1)),
              "[\"GET\", \"system\", 0, 0, 0]\n"
              "{\"id\":\"<id>\",\"paramDescriptor\":{\"objectName\":[\"a\"]}}");
    EXPECT_EQ(
        payloadOf(GETMessage("system", {"a"}, nullptr, 2)),
        "[\"GET\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":{\"objectName\":[\"a\"]}}");
}

TEST(SetMessages, CarryAParam) {
    EXPECT_EQ(payloadOf(SETMessage("system.connection", parsed("{\"a\":1}"))),
              "[\"SET\", \"system.connection\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":{\"a\":1}}");
}

TEST(SetMessages, WithoutAParamHaveOnlyTheirId) {
    EXPECT_EQ(payloadOf(SETMessage("", nullptr)), "[\"SET\", \"\", 0, 0, 0]\n{\"id\":\"<id>\"}");
}

TEST(SetMessages, MayBePartsOfASequence) {
    EXPECT_EQ(payloadOf(SETMessage("system", parsed("1"), 2, 3)),
              "[\"SET\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"seq\":[2,3],\"param\":1}");
}

TEST(SetMessages, MayBeTheOnlyPartOfASequence) {
    EXPECT_EQ(payloadOf(SETMessage("system", parsed("1"), 1, 1)),
              "[\"SET\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"seq\":[1,1],\"param\":1}");
}

TEST(SetMessages, OutsideAnySequenceHaveNone) {
    const std::string plain = "[\"SET\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":1}";
    EXPECT_EQ(payloadOf(SETMessage("system", parsed("1"), 0, 3)), plain);
    EXPECT_EQ(payloadOf(SETMessage("system", parsed("1"), -1, 3)), plain);
    EXPECT_EQ(payloadOf(SETMessage("system", parsed("1"), 1, 0)), plain);
}

TEST(NotMessages, AnnounceANameUnderParam) {
    EXPECT_EQ(payloadOf(NOTMessage("system", "sshEnabled", util::jsonNumber(1))),
              "[\"NOT\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":{\"sshEnabled\":1}}");
}

TEST(NotMessages, AnnounceAValueThatIsTextAlready) {
    const NOTMessage message("system", "a\"b", util::JSONText{"[1]"});
    EXPECT_EQ(payloadOf(message),
              "[\"NOT\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"param\":{\"a\\\"b\":[1]}}");
    EXPECT_EQ(util::renderJSON(util::jsonMember(message.data(), "param"), false),
              "{\"a\\\"b\":[1]}");
}

TEST(NotMessages, AnnounceUnderAKeyOfTheirOwn) {
    EXPECT_EQ(payloadOf(NOTMessage("system", DataKey{"state"}, util::jsonNumber(1))),
              "[\"NOT\", \"system\", 0, 0, 0]\n{\"id\":\"<id>\",\"state\":1}");
}

TEST(RspMessages, GoBackToTheRequesterWithItsId) {
    const RSPMessage response(request(), 200);
    EXPECT_EQ(response.type(), MessageType::RSP);
    EXPECT_EQ(response.objectName(), "system");
    EXPECT_EQ(response.source(), 0);
    EXPECT_EQ(response.header().destination, 8);
    EXPECT_EQ(response.uniqueId(), "77@there");
}

TEST(RspMessages, WithACodeNameTheCommandAndTheText) {
    EXPECT_EQ(RSPMessage(request(), 200).encode(),
              answerTo8("\"requestCommand\":\"GET\",\"statusCode\":200,\"statusMsg\":\"OK\""));
    EXPECT_EQ(
        RSPMessage(request("SET"), 404).encode(),
        answerTo8("\"requestCommand\":\"SET\",\"statusCode\":404,\"statusMsg\":\"Not Found\""));
}

TEST(RspMessages, ACodeWithoutTextHasAnEmptyOne) {
    EXPECT_EQ(RSPMessage(request(), 299).encode(),
              answerTo8("\"requestCommand\":\"GET\",\"statusCode\":299,\"statusMsg\":\"\""));
}

TEST(RspMessages, WithAParamNameNoCommand) {
    EXPECT_EQ(RSPMessage(request(), parsed("{\"a\":1}")).encode(),
              answerTo8("\"statusCode\":200,\"statusMsg\":\"OK\",\"param\":{\"a\":1}"));
    EXPECT_EQ(RSPMessage(request(), util::UniqueJSON()).encode(),
              answerTo8("\"statusCode\":200,\"statusMsg\":\"OK\""));
}

TEST(RspMessages, WithAnObjectBase) {
    const std::string ok = "\"requestCommand\":\"GET\",\"statusCode\":200,\"statusMsg\":\"OK\"";
    EXPECT_EQ(RSPMessage(request(), "base", util::jsonNumber(1)).encode(),
              answerTo8(ok + ",\"objectBase\":\"base\",\"param\":1"));
    EXPECT_EQ(RSPMessage(request(), std::nullopt, util::jsonNumber(1)).encode(),
              answerTo8(ok + ",\"param\":1"));
    EXPECT_EQ(RSPMessage(request(), "", nullptr).encode(), answerTo8(ok + ",\"objectBase\":\"\""));
}

TEST(RspMessages, CarryANameWithAValueThatIsTextAlready) {
    EXPECT_EQ(RSPMessage(request(), "ipAddress", util::JSONText{"7"}).encode(),
              answerTo8("\"requestCommand\":\"GET\",\"statusCode\":200,\"statusMsg\":\"OK\","
                        "\"param\":{\"ipAddress\":7}"));
}

TEST(RspMessages, CarryADescriptorWhenTheFlagIsOne) {
    const std::string ok = "\"requestCommand\":\"GET\",\"statusCode\":200,\"statusMsg\":\"OK\"";
    EXPECT_EQ(RSPMessage(request(), std::nullopt, util::jsonNumber(1), 1).encode(),
              answerTo8(ok + ",\"paramDescriptor\":1"));
    EXPECT_EQ(RSPMessage(request(), "base", util::jsonNumber(1), 0).encode(),
              answerTo8(ok + ",\"objectBase\":\"base\",\"param\":1"));
}

TEST(RspMessages, WithACodeAndDetails) {
    const std::string bad =
        "\"requestCommand\":\"GET\",\"statusCode\":400,\"statusMsg\":\"Bad Request\"";
    EXPECT_EQ(RSPMessage(request(), "system.x", 400, "why").encode(),
              answerTo8(bad + ",\"objectName\":\"system.x\",\"details\":\"why\""));
    EXPECT_EQ(RSPMessage(request(), std::nullopt, 400, "why").encode(),
              answerTo8(bad + ",\"details\":\"why\""));
    EXPECT_EQ(RSPMessage(request(), std::nullopt, 400, std::nullopt).encode(), answerTo8(bad));
}

TEST(RspMessages, FromNothingButArguments) {
    EXPECT_EQ(
        RSPMessage("system", 3, "9@x", MessageType::DEL, "o", 210, parsed("[1]"), "d").encode(),
        "[\"RSP\", \"system\", 0, 3, 0]\n{\"id\":\"9@x\",\"requestCommand\":\"DEL\","
        "\"statusCode\":210,\"statusMsg\":\"OK With Info\",\"objectName\":\"o\","
        "\"details\":\"d\",\"param\":[1]}");
    EXPECT_EQ(
        RSPMessage("", 0, "", MessageType::none, std::nullopt, 0, nullptr, std::nullopt).encode(),
        "[\"RSP\", \"\", 0, 0, 0]\n{\"id\":\"\",\"requestCommand\":\"\",\"statusCode\":0,"
        "\"statusMsg\":\"Unknown\"}");
}

TEST(RspMessages, ToARequestWithoutIdHaveAnEmptyOne) {
    CapturedLog log;
    EXPECT_EQ(RSPMessage(received("[\"SET\", \"system\", 8, 0, 0]\n{}"), 200).encode(),
              "[\"RSP\", \"system\", 0, 8, 0]\n{\"id\":\"\",\"requestCommand\":\"SET\","
              "\"statusCode\":200,\"statusMsg\":\"OK\"}");
}

TEST(Messages, TextsAreEscapedInTheData) {
    EXPECT_EQ(payloadOf(NOTMessage("system", "name", util::jsonString("a\"\n\\b"))),
              "[\"NOT\", \"system\", 0, 0, 0]\n"
              "{\"id\":\"<id>\",\"param\":{\"name\":\"a\\\"\\n\\\\b\"}}");
}

TEST(Messages, AreSentAsTheirCommonBase) {
    TarnInternalMessage message = SETMessage("system", util::jsonNumber(1));
    message.header().source = 8;
    EXPECT_EQ(payloadOf(message), "[\"SET\", \"system\", 8, 0, 0]\n{\"id\":\"<id>\",\"param\":1}");
}

TEST(Messages, ComeBackAsTheyWereSent) {
    const SETMessage sent("system.connection", parsed("{\"login\":{\"connID\":8}}"));
    const TarnInternalMessage back = received(sent.encode());
    EXPECT_EQ(back.type(), MessageType::SET);
    EXPECT_EQ(back.uniqueId(), sent.uniqueId());
    EXPECT_EQ(util::renderJSON(back.data(), false), util::renderJSON(sent.data(), false));
}

// One of every kind, encoded.
std::vector<std::string> oneOfEachKind() {
    return {GETMessage("system", {"ipAddress", "frameName"}, nullptr, 0).encode(),
            GETMessage("system", {"ipAddress"}, nullptr, 1).encode(),
            SETMessage("system.connection", parsed("{\"login\":{\"connID\":8}}")).encode(),
            SETMessage("", nullptr).encode(),
            NOTMessage("frameB.system", "sshEnabled", util::jsonNumber(0)).encode(),
            RSPMessage(request(), 404).encode(),
            RSPMessage(request(), parsed("{\"frameName\":\"a;b:c\"}")).encode()};
}

// What the messages decode to, encoded again, after they came as one stream in such chunks.
std::vector<std::string> throughTheStream(const std::vector<std::string>& payloads, size_t chunk) {
    std::string stream;
    for (const std::string& payload : payloads) {
        stream += lumo::encodeNetString(payload);
    }
    std::vector<std::string> decoded;
    lumo::NetStringStreamParser parser;
    parser.setOnMessage([&decoded](std::unique_ptr<std::vector<char>> payload) {
        const TarnInternalMessage message(std::move(payload));
        message.data();
        decoded.push_back(message.encode());
    });
    for (size_t begin = 0; begin < stream.size(); begin += chunk) {
        parser.feed(stream.data() + begin, std::min(chunk, stream.size() - begin));
    }
    return decoded;
}

TEST(Messages, PassTheStreamWholeAndByteByByte) {
    for (const std::string& payload : oneOfEachKind()) {
        EXPECT_EQ(throughTheStream({payload}, payload.size() + 10), std::vector{payload});
        EXPECT_EQ(throughTheStream({payload}, 1), std::vector{payload});
    }
}

TEST(Messages, PassTheStreamTwoAtOnce) {
    for (const std::string& payload : oneOfEachKind()) {
        const std::vector<std::string> both = {payload, SETMessage("", nullptr).encode()};
        EXPECT_EQ(throughTheStream(both, 100'000), both);
    }
}

}  // namespace
