// Who logs a fault in a received message: the constructors and the message they make, but not
// tryDecode().

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bus/tarn_internal_message.h"
#include "payloads.h"
#include "support/captured_log.h"

namespace {

using namespace std::string_literals;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Line = CapturedLog::Line;

// A payload with this text for its scheduled time.
std::string scheduledAt(const std::string& time) {
    return R"(["SET", "system", 1, 0, ")" + time + "\"]\n{}";
}

TEST(MessageLog, NamesATimeToCome) {
    CapturedLog log;
    const TarnInternalMessage message = received(scheduledAt("+00:00:05.250"));
    const std::string time = lumo::formatScheduledTime(message.header().scheduled);
    EXPECT_EQ(time.size(), "2027-01-15T08:00:05.250"s.size());
    EXPECT_THAT(log.lines(), ElementsAre(Line{LOG_INFO, "Message Scheduled at " + time + "\n"}));
}

TEST(MessageLog, ShowsADelayThatCannotBeRead) {
    CapturedLog log;
    EXPECT_FALSE(received(scheduledAt("+25:00:00")).header().scheduled.isScheduled());
    EXPECT_THAT(log.lines(),
                ElementsAre(Line{LOG_WARNING, "Error parsing message time: +25:00:00\n"}));
}

TEST(MessageLog, ReportsMillisecondsThatCannotBeReadAndThenTheTime) {
    CapturedLog log;
    const TarnInternalMessage message = received(scheduledAt("+00:00:05.x"));
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0], (Line{LOG_INFO, "error decoding ms value.\n"}));
    EXPECT_THAT(log.lines()[1].text, testing::StartsWith("Message Scheduled at "));
}

TEST(TryDecode, GivesTheMessageOfAPayloadWithOrWithoutItsNul) {
    const auto expectMessage = [](const std::optional<TarnInternalMessage>& message) {
        ASSERT_TRUE(message);
        EXPECT_EQ(message->type(), MessageType::NOT);
        EXPECT_EQ(message->objectName(), "system");
        EXPECT_EQ(message->uniqueId(), "1@8");
    };
    const std::string payload = "[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"1@8\"}";
    expectMessage(TarnInternalMessage::tryDecode(payload));
    expectMessage(TarnInternalMessage::tryDecode(payload + '\0'));
}

TEST(TryDecode, GivesNothingAndLogsNothingForOtherPayloads) {
    CapturedLog log;
    for (const std::string_view payload : {"", "noise", "[\"NOT\", \"system\"", "noise\n{}"}) {
        EXPECT_FALSE(TarnInternalMessage::tryDecode(payload)) << payload;
    }
    EXPECT_FALSE(TarnInternalMessage::tryDecode(std::unique_ptr<std::vector<char>>()));
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(TryDecode, GivesAMessageThatLogsNothing) {
    CapturedLog log;
    for (const std::string& payload :
         {scheduledAt("+00:00:05"), scheduledAt("+x"), scheduledAt("+00:00:05.x"),
          "[\"NOT\", \"system\", 8, 0, 0]\n{\"a\":"s}) {
        std::optional<TarnInternalMessage> message = TarnInternalMessage::tryDecode(payload);
        ASSERT_TRUE(message);
        EXPECT_EQ(message->uniqueId(), "");
        const TarnInternalMessage moved = std::move(*message);
        EXPECT_EQ(moved.uniqueId(), "");
    }
    EXPECT_THAT(log.lines(), IsEmpty());
}

}  // namespace
