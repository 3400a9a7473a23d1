#include "client/payload.h"

#include <gtest/gtest.h>

namespace client {

namespace {

TEST(Payload, IsTheMessageThatItHolds) {
    const auto message = decodePayload("[\"NOT\", \"system\", 8, 0, 0]\n{\"id\":\"1@8\"}");
    ASSERT_TRUE(message);
    EXPECT_EQ(message->type(), MessageType::NOT);
    EXPECT_EQ(message->objectName(), "system");
    EXPECT_EQ(message->uniqueId(), "1@8");
}

TEST(Payload, MayBeNoMessage) {
    EXPECT_FALSE(decodePayload(""));
    EXPECT_FALSE(decodePayload("noise"));
    EXPECT_FALSE(decodePayload("[\"NOT\", \"system\""));
}

}  // namespace

}  // namespace client
