#include "bus/tarn_internal_message.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "bus/messages.h"
#include "payloads.h"
#include "support/captured_log.h"

namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Line = CapturedLog::Line;

constexpr const char* kLine = "[\"SET\", \"system\", 1, 0, 0]\n";

std::string thrownBy(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing thrown";
}

std::string refusal(const std::string& text) {
    return thrownBy([&] { received(text); });
}

std::string statusRefusal(const std::string& data) {
    return thrownBy([&] { receivedData(data).responseStatus(); });
}

TEST(MessageDecoding, ReadsHeaderAndData) {
    const TarnInternalMessage message =
        received("[\"SET\", \"system\", 5, 8, 0]\n{\"id\":\"3@h\",\"param\":{\"a\":1}}");
    EXPECT_EQ(message.type(), MessageType::SET);
    EXPECT_EQ(message.objectName(), "system");
    EXPECT_EQ(message.source(), 5);
    EXPECT_EQ(message.header().destination, 8);
    EXPECT_EQ(message.uniqueId(), "3@h");
    EXPECT_EQ(util::renderJSON(util::jsonMember(message.data(), "param"), false), "{\"a\":1}");
    EXPECT_EQ(message.filePath(), "");
}

TEST(MessageDecoding, APayloadWithoutNulIsDecodedAfterAWarning) {
    ::testing::internal::CaptureStderr();
    const TarnInternalMessage message(unterminatedPayload(kLine + "{\"id\":\"3@h\"}"s));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              "** TarnInternalMessage Error: Input vector must be null terminated **\n");
    EXPECT_EQ(message.uniqueId(), "3@h");
}

TEST(MessageDecoding, APayloadWithNulIsNoneToWarnAbout) {
    ::testing::internal::CaptureStderr();
    received(kLine);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(MessageDecoding, AnEmptyPayloadFailsAfterAWarning) {
    for (const bool none : {false, true}) {
        CapturedLog log;
        ::testing::internal::CaptureStderr();
        EXPECT_EQ(thrownBy([&] { TarnInternalMessage(none ? nullptr : unterminatedPayload("")); }),
                  "Error Parsing TarninternalMessage");
        EXPECT_EQ(::testing::internal::GetCapturedStderr(),
                  "** TarnInternalMessage Error: Input vector must be null terminated **\n");
        EXPECT_THAT(log.lines(),
                    ElementsAre(Line{LOG_INFO, "TarnInternalMessage Header not found:\n"}));
    }
}

TEST(MessageDecoding, APayloadWithoutLineFeedFails) {
    CapturedLog log;
    EXPECT_EQ(refusal("[\"SET\", \"system\", 1, 0, 0]{}"), "Error Parsing TarninternalMessage");
    EXPECT_THAT(log.lines(), ElementsAre(Line{LOG_INFO,
                                              "TarnInternalMessage Header not found:"
                                              "[\"SET\", \"system\", 1, 0, 0]{}\n"}));
}

TEST(MessageDecoding, APayloadWithAnInvalidHeaderFailsAndItsHeaderIsLogged) {
    CapturedLog log;
    EXPECT_EQ(refusal("[\"FOO\", \"system\", 1, 0, 0]\n{}"), "Error Parsing TarninternalMessage");
    EXPECT_THAT(log.lines(), ElementsAre(Line{LOG_INFO,
                                              "TarnInternalMessage header decode error:"
                                              "[\"FOO\", \"system\", 1, 0, 0]\n"}));
}

TEST(MessageDecoding, TextsFromTheBusAreNoFormats) {
    CapturedLog log;
    refusal("%s%n%d");
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, "TarnInternalMessage Header not found:%s%n%d\n"}));
}

TEST(MessageDecoding, TheTextEndsAtItsFirstNul) {
    EXPECT_EQ(refusal("[\"SET\", \"system\", 1\0, 0, 0]\n{}"s),
              "Error Parsing TarninternalMessage");
    const TarnInternalMessage message = received(kLine + "{\"id\":\"3@h\"}\0rest"s);
    EXPECT_EQ(message.encode(), kLine + "{\"id\":\"3@h\"}"s);
}

TEST(MessageDecoding, NestingWithoutEndIsDataThatDoesNotParse) {
    CapturedLog log;
    const TarnInternalMessage message = received(kLine + std::string(1'000'000, '['));
    EXPECT_TRUE(cJSON_IsNull(message.data()));
}

TEST(MessageDecoding, AnOwnedTextIsDecoded) {
    const TarnInternalMessage message(mallocText(kLine + "{\"id\":\"3@h\"}"s));
    EXPECT_EQ(message.type(), MessageType::SET);
    EXPECT_EQ(message.uniqueId(), "3@h");
}

TEST(MessageDecoding, AnOwnedTextThatFailsLeavesTheMessageEmptyWithoutThrowing) {
    CapturedLog log;
    for (const std::string text : {"", "no line feed", "[\"FOO\", \"system\", 1, 0, 0]\n{}"}) {
        const TarnInternalMessage message(mallocText(text));
        EXPECT_EQ(message.type(), MessageType::none) << text;
        EXPECT_EQ(message.objectName(), "") << text;
        EXPECT_TRUE(cJSON_IsNull(message.data())) << text;
        EXPECT_EQ(log.take().size(), 1U) << text;
    }
    EXPECT_EQ(TarnInternalMessage(MallocText()).type(), MessageType::none);
}

TEST(MessageDecoding, AllocatesNothingBesideItsMessageAndItsTree) {
    auto payload = payloadOf(kLine + "{\"id\":\"3@h\",\"param\":{\"sshEnabled\":1}}"s);
    const size_t before = allocationCount();
    const TarnInternalMessage message(std::move(payload));
    message.data();
    EXPECT_EQ(allocationCount(), before);
}

TEST(MessageData, IsParsedOnce) {
    const TarnInternalMessage message = received(kLine + "{\"a\":1}"s);
    EXPECT_EQ(message.data(), message.data());
}

TEST(MessageData, ThatDoesNotParseIsNullAndLoggedOnce) {
    CapturedLog log;
    const TarnInternalMessage message = received(kLine + "{\"a\":"s);
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, "TarnInternalMessage data decode error:{\"a\":\n"}));
    EXPECT_EQ(message.encode(), kLine + "null"s);
}

TEST(MessageData, IsNotLookedAtBeforeSomebodyAsks) {
    CapturedLog log;
    received(kLine + "{\"a\":"s);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(MessageData, ThatIsEmptyDoesNotParse) {
    CapturedLog log;
    EXPECT_TRUE(cJSON_IsNull(received(kLine).data()));
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_INFO, "TarnInternalMessage data decode error:\n"}));
}

TEST(MessageData, OfMoreThanFiftyThousandItemsDoesNotParse) {
    CapturedLog log;
    const auto array = [](int items) {
        std::string text = "[1";
        for (int i = 1; i < items; ++i) {
            text += ",1";
        }
        return text + "]";
    };
    EXPECT_TRUE(cJSON_IsArray(received(kLine + array(50'000)).data()));
    EXPECT_THAT(log.lines(), IsEmpty());
    const TarnInternalMessage message = received(kLine + array(50'001));
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_THAT(log.lines()[0].text,
                testing::StartsWith("TarnInternalMessage data decode error:[1,1"));
}

TEST(MessageData, WithAnIdOfMoreThan64KibibytesDoesNotParse) {
    CapturedLog log;
    const auto withId = [](std::size_t length) {
        return std::string(kLine) + R"({"id":")" + std::string(length, 'i') + "\"}";
    };
    EXPECT_EQ(received(withId(64 * 1024)).uniqueId().size(), 64u * 1024u);
    const TarnInternalMessage message = received(withId(64 * 1024 + 1));
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_EQ(message.uniqueId(), "");
}

TEST(MessageData, OfAMessageWithoutAnyIsNullAndNotKept) {
    CapturedLog log;
    TarnInternalMessage message;
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_TRUE(cJSON_IsNull(message.takeData().get()));
    EXPECT_EQ(message.encode(), "[\"\", \"\", 0, 0, 0]\n");
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(MessageData, TakenBelongsToTheCallerAndIsGone) {
    TarnInternalMessage message = received(kLine + "{\"a\": 1}"s);
    const util::UniqueJSON mine = message.takeData();
    EXPECT_EQ(util::renderJSON(mine.get(), false), "{\"a\":1}");
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_EQ(message.encode(), kLine);
}

TEST(MessageData, TakenAfterALookIsTheSameTree) {
    TarnInternalMessage message = received(kLine + "{\"a\": 1}"s);
    const cJSON* const seen = message.data();
    EXPECT_EQ(message.takeData().get(), seen);
}

TEST(MessageData, ThatDoesNotParseIsLoggedOnceHoweverItIsRead) {
    CapturedLog log;
    TarnInternalMessage message = received(kLine + "{"s);
    EXPECT_TRUE(cJSON_IsNull(message.data()));
    EXPECT_EQ(message.statusCode(), 0);
    EXPECT_TRUE(cJSON_IsNull(message.takeData().get()));
    EXPECT_THAT(log.lines(), testing::SizeIs(1));
}

TEST(MessageData, OfANewMessageMayBeTaken) {
    SETMessage message("system", util::jsonNumber(1));
    EXPECT_EQ(util::renderJSON(util::jsonMember(message.takeData().get(), "param"), false), "1");
}

TEST(MessageEncoding, AppendsTheReceivedTextAsItIsUntilItIsParsed) {
    const TarnInternalMessage message = received(kLine + "{ \"a\" : 1 } trailing"s);
    EXPECT_EQ(message.encode(), kLine + "{ \"a\" : 1 } trailing"s);
    message.data();
    EXPECT_EQ(message.encode(), kLine + "{\"a\":1}"s);
}

TEST(MessageEncoding, WritesTheHeaderAsItIsNow) {
    TarnInternalMessage message = received(kLine + "{}"s);
    message.header().source = 8;
    EXPECT_EQ(message.encode(), "[\"SET\", \"system\", 8, 0, 0]\n{}");
}

TEST(UniqueId, ThatIsMissingIsLoggedAndEmpty) {
    CapturedLog log;
    EXPECT_EQ(receivedData("{}").uniqueId(), "");
    EXPECT_THAT(log.lines(), ElementsAre(Line{LOG_DEBUG, "UniqueID not found.\n"}));
}

TEST(UniqueId, ThatIsNoTextCountsAsMissing) {
    CapturedLog log;
    for (const char* const data : {"{\"id\":3}", "{\"id\":null}", "{\"ID\":\"3@h\"}", "[\"id\"]"}) {
        EXPECT_EQ(receivedData(data).uniqueId(), "") << data;
        EXPECT_EQ(log.take().size(), 1U) << data;
    }
}

TEST(StatusCode, IsReadWhenItIsDefined) {
    for (const int code : {200, 201, 202, 204, 210, 400, 403, 404, 405, 408, 429,
                           480, 481, 482, 490, 491, 492, 493, 494, 495, 496}) {
        EXPECT_EQ(receivedData("{\"statusCode\":" + std::to_string(code) + "}").statusCode(), code);
    }
}

TEST(StatusCode, OfAnythingElseIsZero) {
    for (const char* const code : {"299", "0", "-200", "\"200\"", "null", "1e300", "4294967496"}) {
        EXPECT_EQ(receivedData("{\"statusCode\":"s + code + "}").statusCode(), 0) << code;
    }
    EXPECT_EQ(receivedData("{}").statusCode(), 0);
}

TEST(Sequence, IsAPair) {
    EXPECT_EQ(receivedData("{\"seq\":[2,5]}").sequence(), std::pair(2, 5));
    EXPECT_EQ(receivedData("{\"seq\":[\"2\",5]}").sequence(), std::pair(0, 5));
}

TEST(Sequence, OfAnythingElseIsZeros) {
    for (const char* const data : {"{}", "{\"seq\":[2]}", "{\"seq\":[2,5,6]}", "{\"seq\":2}",
                                   "{\"seq\":{\"a\":2,\"b\":5}}"}) {
        EXPECT_EQ(receivedData(data).sequence(), std::pair(0, 0)) << data;
    }
}

TEST(ResponseStatus, HasTheFourFields) {
    const ResponseStatus status =
        receivedData(
            "{\"id\":\"3@h\",\"requestCommand\":\"GET\",\"statusCode\":404,\"statusMsg\":\"Not "
            "Found\"}")
            .responseStatus();
    EXPECT_EQ(status.id, "3@h");
    EXPECT_EQ(status.requestCommand, "GET");
    EXPECT_EQ(status.statusCode, 404);
    EXPECT_EQ(status.statusMsg, "Not Found");
}

TEST(ResponseStatus, GivesAnyCode) {
    EXPECT_EQ(receivedData("{\"id\":\"\",\"requestCommand\":\"\",\"statusCode\":299,"
                           "\"statusMsg\":\"\"}")
                  .responseStatus()
                  .statusCode,
              299);
}

TEST(ResponseStatus, AMessageTextThatIsNoTextIsEmpty) {
    EXPECT_EQ(receivedData("{\"id\":\"\",\"requestCommand\":\"\",\"statusCode\":1,"
                           "\"statusMsg\":7}")
                  .responseStatus()
                  .statusMsg,
              "");
}

TEST(ResponseStatus, NamesTheKeyThatIsMissing) {
    EXPECT_EQ(statusRefusal("{}"), "id not found");
    EXPECT_EQ(statusRefusal("{\"id\":\"\"}"), "requestCommand not found");
    EXPECT_EQ(statusRefusal("{\"id\":\"\",\"requestCommand\":\"\"}"), "statusCode not found");
    EXPECT_EQ(statusRefusal("{\"id\":\"\",\"requestCommand\":\"\",\"statusCode\":200}"),
              "statusMsg not found");
}

TEST(ResponseStatus, NamesTheKeyThatIsNoText) {
    EXPECT_EQ(statusRefusal("{\"id\":3}"), "id is not string type");
    EXPECT_EQ(statusRefusal("{\"id\":\"\",\"requestCommand\":7}"),
              "requestCommand is not string type");
}

TEST(ResponseStatus, ACodeThatIsNoNumberIsMissing) {
    EXPECT_EQ(statusRefusal("{\"id\":\"\",\"requestCommand\":\"\",\"statusCode\":\"200\","
                            "\"statusMsg\":\"\"}"),
              "statusCode not found");
}

TEST(ResponseStatus, NeedsADataObject) {
    CapturedLog log;
    EXPECT_EQ(statusRefusal("[]"), "no data object");
    EXPECT_EQ(statusRefusal(""), "no data object");
    EXPECT_EQ(thrownBy([] { TarnInternalMessage().responseStatus(); }), "no data object");
}

TEST(MovingAMessage, TakesEverythingAndCopiesTheHeader) {
    CapturedLog log;
    TarnInternalMessage from =
        received("[\"GET\", \"system\", \"5@q\", \"8@r\", 0]\n{\"id\":\"3@h\"}");
    from.header().splitObjectName();
    from.uniqueId();
    const TarnInternalMessage to(std::move(from));
    EXPECT_EQ(to.encode(), "[\"GET\", \"system\", 5, 8, 0]\n{\"id\":\"3@h\"}");
    EXPECT_EQ(to.uniqueId(), "3@h");
    EXPECT_THAT(to.header().objectPath, ElementsAre("system"));

    EXPECT_EQ(from.encode(), "[\"GET\", \"system\", 5, 8, 0]\n");
    EXPECT_EQ(from.uniqueId(), "");
    EXPECT_THAT(from.header().objectPath, ElementsAre("system"));
    EXPECT_EQ(from.header().sourceQualifier, "q");
    EXPECT_EQ(from.header().destinationQualifier, "r");
}

TEST(MovingAMessage, KeepsTextThatWasNotParsedYet) {
    for (const bool ownedText : {false, true}) {
        TarnInternalMessage from =
            ownedText ? TarnInternalMessage(mallocText(kLine + "[1]"s)) : received(kLine + "[1]"s);
        TarnInternalMessage to;
        to = std::move(from);
        EXPECT_EQ(util::renderJSON(to.data(), false), "[1]");
        EXPECT_TRUE(cJSON_IsNull(from.data()));
        EXPECT_EQ(from.type(), MessageType::SET);
    }
}

TEST(MovingAMessage, ReplacesWhatWasThere) {
    TarnInternalMessage to = receivedData("{\"id\":\"old\",\"a\":1}");
    to.uniqueId();
    to = receivedData("{\"b\":2}");
    CapturedLog log;
    EXPECT_EQ(to.uniqueId(), "");
    EXPECT_EQ(util::renderJSON(to.data(), false), "{\"b\":2}");
}

}  // namespace
