#include "systemstate/network_settings.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

namespace systemstate {

namespace {

struct DottedCase {
    const char* name;
    std::string text;
    uint32_t address;
};

class ParseDotted : public testing::TestWithParam<DottedCase> {};

TEST_P(ParseDotted, Gives) {
    EXPECT_EQ(parseDotted(GetParam().text), GetParam().address);
}

std::string caseName(const testing::TestParamInfo<DottedCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Addresses, ParseDotted,
    testing::Values(DottedCase{"FirstOctetMostSignificant", "10.1.2.3", 0x0A010203},
                    DottedCase{"LargestOctets", "255.255.255.255", 0xFFFFFFFF},
                    DottedCase{"LeadingZeros", "010.000.0002.3", 0x0A000203},
                    DottedCase{"BlankAndCommentAfterIt", "1.2.3.4 # the first", 0x01020304},
                    DottedCase{"CarriageReturnAfterIt", "1.2.3.4\r", 0x01020304},
                    DottedCase{"FifthGroupAfterIt", "1.2.3.4.5", 0x01020304},
                    DottedCase{"EmptySecondGroup", "10..1.2", 0x0A000102},
                    DottedCase{"EmptyFirstGroup", ".1.2.3", 0x00010203},
                    DottedCase{"EmptyLastGroup", "1.2.3.", 0x01020300},
                    DottedCase{"EmptyLastGroupThenText", "1.2.3.x", 0x01020300},
                    DottedCase{"NothingButDots", "...", 0}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    NoAddress, ParseDotted,
    testing::Values(DottedCase{"Empty", "", 0}, DottedCase{"GroupAbove255", "256.1.1.1", 0},
                    DottedCase{"LastGroupAbove255", "1.1.1.256", 0},
                    DottedCase{"ThreeGroups", "1.2.3", 0}, DottedCase{"Quoted", "\"1.2.3.4\"", 0},
                    DottedCase{"LeadingBlank", " 1.2.3.4", 0},
                    DottedCase{"BlankInside", "1.2 .3.4", 0}, DottedCase{"Signed", "-1.2.3.4", 0},
                    DottedCase{"Hexadecimal", "0x1.2.3.4", 0},
                    DottedCase{"ZeroByteForADot", std::string("1\0002.3.4", 8), 0},
                    DottedCase{"JustBeyond32Bits", "4294967296.2.3.4", 0},
                    DottedCase{"WrapsToAnOctetIn32Bits", "4294967297.2.3.4", 0},
                    DottedCase{"WrapsToAnOctetIn64Bits", "18446744073709551617.2.3.4", 0},
                    DottedCase{"AThousandDigits", std::string(1000, '9') + ".2.3.4", 0},
                    DottedCase{"AThousandDigitsAtTheEnd", "1.2.3." + std::string(1000, '9'), 0}),
    caseName);

TEST(ParseDotted, AThousandLeadingZerosAreStillAnAddress) {
    EXPECT_EQ(parseDotted(std::string(1000, '0') + "9.2.3.4"), 0x09020304U);
}

TEST(DottedText, BytesFromTheMostSignificantDown) {
    EXPECT_EQ(dottedText(0x0A010203), "10.1.2.3");
    EXPECT_EQ(dottedText(0xFFFFFF00), "255.255.255.0");
    EXPECT_EQ(dottedText(0), "0.0.0.0");
    EXPECT_EQ(dottedText(0xFFFFFFFF), "255.255.255.255");
}

TEST(DottedText, ReadsBackAsTheSameAddress) {
    const auto seed = std::random_device{}();
    RecordProperty("seed", std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 1000; ++round) {
        const auto address = static_cast<uint32_t>(random());
        EXPECT_EQ(parseDotted(dottedText(address)), address) << "seed " << seed;
    }
}

TEST(ValidAddress, IsNeitherZeroNorAllOnes) {
    EXPECT_FALSE(isValidAddress(0));
    EXPECT_FALSE(isValidAddress(0xFFFFFFFF));
    EXPECT_TRUE(isValidAddress(1));
    EXPECT_TRUE(isValidAddress(0xFFFFFFFE));
    EXPECT_TRUE(isValidAddress(0x80000000));
}

TEST(ValidAddress, OneInvalidSettingSpoilsTheThree) {
    EXPECT_TRUE(areValid({1, 2, 3}));
    EXPECT_FALSE(areValid({0, 2, 3}));
    EXPECT_FALSE(areValid({1, 0xFFFFFFFF, 3}));
    EXPECT_FALSE(areValid({1, 2, 0}));
}

TEST(NetworkConf, ReadsTheThreeSettings) {
    const NetworkConf conf =
        decodeNetworkConf("USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
    EXPECT_EQ(conf.ip, 0x0A000005U);
    EXPECT_EQ(conf.netmask, 0xFFFFFF00U);
    EXPECT_EQ(conf.gateway, 0x0A000001U);
}

TEST(NetworkConf, EmptyTextSaysNothing) {
    const NetworkConf conf = decodeNetworkConf("");
    EXPECT_EQ(conf.ip, std::nullopt);
    EXPECT_EQ(conf.netmask, std::nullopt);
    EXPECT_EQ(conf.gateway, std::nullopt);
}

TEST(NetworkConf, OtherLinesAndKeysAreIgnored) {
    const NetworkConf conf = decodeNetworkConf(
        "# IPADDR=1.1.1.1\n IPADDR=2.2.2.2\nIPADDR\nDNS=3.3.3.3\nipaddr=4.4.4.4\n"
        "IPADDR2=5.5.5.5\nIPADDR =6.6.6.6\n");
    EXPECT_EQ(conf.ip, std::nullopt);
    EXPECT_EQ(conf.netmask, std::nullopt);
    EXPECT_EQ(conf.gateway, std::nullopt);
}

TEST(NetworkConf, LastLineNeedsNoLineFeed) {
    EXPECT_EQ(decodeNetworkConf("GATEWAY=10.0.0.1").gateway, 0x0A000001U);
}

TEST(NetworkConf, LaterLineOverwritesAnEarlierOne) {
    EXPECT_EQ(decodeNetworkConf("IPADDR=1.2.3.4\nIPADDR=1.2.3.5\n").ip, 0x01020305U);
    EXPECT_EQ(decodeNetworkConf("IPADDR=1.2.3.4\nIPADDR=junk\n").ip, 0U);
}

TEST(NetworkConf, QuotedValueReadsAsZero) {
    EXPECT_EQ(decodeNetworkConf("IPADDR=\"10.0.0.5\"\n").ip, 0U);
}

TEST(NetworkConf, TextAfterTheFirstEqualsSignIsTheValue) {
    EXPECT_EQ(decodeNetworkConf("IPADDR=1.2.3.4=5\n").ip, 0x01020304U);
    EXPECT_EQ(decodeNetworkConf("IPADDR==1.2.3.4\n").ip, 0U);
}

TEST(NetworkConf, ShortenedKeyIsTheFirstNameItBegins) {
    EXPECT_EQ(decodeNetworkConf("I=1.2.3.4\n").ip, 0x01020304U);
    EXPECT_EQ(decodeNetworkConf("IPADD=1.2.3.4\n").ip, 0x01020304U);
    EXPECT_EQ(decodeNetworkConf("N=1.2.3.4\n").netmask, 0x01020304U);
    EXPECT_EQ(decodeNetworkConf("GATE=1.2.3.4\n").gateway, 0x01020304U);
}

TEST(NetworkConf, EmptyKeyIsTheAddress) {
    const NetworkConf conf = decodeNetworkConf("=1.2.3.4\n");
    EXPECT_EQ(conf.ip, 0x01020304U);
    EXPECT_EQ(conf.netmask, std::nullopt);
    EXPECT_EQ(conf.gateway, std::nullopt);
}

TEST(NetworkConf, IsWrittenAsFourLines) {
    EXPECT_EQ(renderNetworkConf("10.0.0.5", "255.255.255.0", "10.0.0.1"),
              "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
}

}  // namespace

}  // namespace systemstate
