#include "bus/netstring.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lumo {
namespace {

using ::testing::ElementsAre;

TEST(NetString, FramesAPayload) {
    EXPECT_EQ(encodeNetString("ab"), "2:ab;");
    EXPECT_EQ(encodeNetString(""), "0:;");
    EXPECT_EQ(encodeNetString(std::string(12, 'x')), "12:xxxxxxxxxxxx;");
}

TEST(NetString, PayloadsMayHoldAnyByte) {
    EXPECT_EQ(encodeNetString(std::string("a\0:;", 4)), std::string("4:a\0:;;", 7));
}

TEST(NetString, PartsAreLengthPayloadTerminator) {
    EXPECT_THAT(netStringParts("ab"), ElementsAre("2:", "ab", ";"));
}

TEST(NetString, PartsAreTheBytesOfTheOneStringForm) {
    for (const size_t size : {0U, 1U, 9U, 10U, 4096U}) {
        const std::string payload(size, 'p');
        std::string joined;
        for (const std::string& part : netStringParts(payload)) {
            joined += part;
        }
        EXPECT_EQ(joined, encodeNetString(payload));
    }
}

TEST(NetString, PartsTakeThePayloadOver) {
    std::string payload(4096, 'p');
    const char* const bytes = payload.data();
    EXPECT_EQ(netStringParts(std::move(payload))[1].data(), bytes);
}

}  // namespace
}  // namespace lumo
