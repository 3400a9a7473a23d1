#include "model/tosk_oid.h"

#include <gtest/gtest.h>

#include "tosk_test_support.h"

namespace model {

namespace {

void expectParts(const ToskOID& oid, const std::string& prefix, const std::string& leaf) {
    EXPECT_EQ(prefix, oid.prefix());
    EXPECT_EQ(leaf, oid.leaf());
}

TEST(ToskOID, DefaultIsEmptyAndOfItsKind) {
    const ToskOID oid;
    expectParts(oid, "", "");
    EXPECT_EQ(kKindOID, oid.kind());
    EXPECT_EQ(5, oid.kind());
}

TEST(ToskOID, ConstructorSplitsAndSetsTheKind) {
    const ToskOID oid("system.ipAddress", 1);
    expectParts(oid, "system", "ipAddress");
    EXPECT_EQ(5, oid.kind());
}

TEST(ToskOID, TextWithTwoDotsIsSplitAtTheFirst) {
    expectParts(ToskOID("system.net.ip", 1), "system", "net.ip");
}

TEST(ToskOID, LaterDotsSplitWhenAskedFor) {
    expectParts(ToskOID("a.b.c.d", 2), "a.b", "c.d");
    expectParts(ToskOID("a.b.c.d", 3), "a.b.c", "d");
}

TEST(ToskOID, FewerDotsThanAskedForSplitAtTheLast) {
    expectParts(ToskOID("a.b.c", 9), "a.b", "c");
}

TEST(ToskOID, NeighbouringDotsCountOneByOne) {
    expectParts(ToskOID("..x", 1), "", ".x");
    expectParts(ToskOID("..x", 2), ".", "x");
}

TEST(ToskOID, DotAtAnEndLeavesThatPartEmpty) {
    expectParts(ToskOID(".x", 1), "", "x");
    expectParts(ToskOID("x.", 1), "x", "");
    expectParts(ToskOID(".", 1), "", "");
}

TEST(ToskOID, TextWithoutAnyDotLeavesBothPartsEmptyAndReadsAsASingleDot) {
    const ToskOID oid("ipAddress", 1);
    expectParts(oid, "", "");
    EXPECT_EQ(".", oid.toString());
}

TEST(ToskOID, ParseWithoutADotChangesNothing) {
    ToskOID oid("system.ipAddress", 1);
    EXPECT_FALSE(oid.parse("netmask", 1));
    EXPECT_FALSE(oid.parse("", 1));
    expectParts(oid, "system", "ipAddress");
}

TEST(ToskOID, ParseThatLooksForNoDotFindsNone) {
    ToskOID oid("system.ipAddress", 1);
    EXPECT_FALSE(oid.parse("a.b", 0));
    EXPECT_FALSE(oid.parse("a.b", -1));
    expectParts(oid, "system", "ipAddress");
}

TEST(ToskOID, ParseReplacesBothParts) {
    ToskOID oid("system.ipAddress", 1);
    EXPECT_TRUE(oid.parse(".x", 1));
    expectParts(oid, "", "x");
}

TEST(ToskOID, TextHasTheDotAlsoWhenAPartIsEmpty) {
    EXPECT_EQ("system.ipAddress", ToskOID("system.ipAddress", 1).toString());
    EXPECT_EQ(".x", ToskOID::fromParts("", "x").toString());
    EXPECT_EQ("x.", ToskOID::fromParts("x", "").toString());
    EXPECT_EQ(".", ToskOID().toString());
}

TEST(ToskOID, PartsAreTakenAsTheyAre) {
    const ToskOID oid = ToskOID::fromParts("frameB.system", "net.ip");
    expectParts(oid, "frameB.system", "net.ip");
    EXPECT_EQ("frameB.system.net.ip", oid.toString());
    EXPECT_EQ(5, oid.kind());
}

TEST(ToskOID, EqualWhenBothPartsAre) {
    EXPECT_EQ(ToskOID("a.b", 1), ToskOID::fromParts("a", "b"));
    EXPECT_NE(ToskOID("a.b", 1), ToskOID("a.c", 1));
    EXPECT_NE(ToskOID("a.b", 1), ToskOID("c.b", 1));
}

TEST(ToskOID, SameTextSplitElsewhereIsAnotherIdentifier) {
    EXPECT_NE(ToskOID("a.b.c", 1), ToskOID("a.b.c", 2));
}

TEST(ToskOID, WritesItsTextAsJSON) {
    EXPECT_EQ("\"system.ipAddress\"", rendered(ToskOID("system.ipAddress", 1).toJSON()));
}

TEST(ToskOID, ReadsItsTextFromJSON) {
    ToskOID oid;
    EXPECT_EQ(0, oid.fromJSON(parsed(R"("system.net.ip")").get()));
    expectParts(oid, "system", "net.ip");
}

TEST(ToskOID, JSONWithoutADotIsReadAndChangesNothing) {
    ToskOID oid("system.ipAddress", 1);
    EXPECT_EQ(0, oid.fromJSON(parsed(R"("netmask")").get()));
    expectParts(oid, "system", "ipAddress");
}

TEST(ToskOID, RefusesJSONThatIsNoText) {
    ToskOID oid("system.ipAddress", 1);
    EXPECT_EQ(-1, oid.fromJSON(nullptr));
    for (const char* text : {"null", "1", "true", "[\"a.b\"]", "{\"a\":\"a.b\"}"}) {
        EXPECT_EQ(-1, oid.fromJSON(parsed(text).get())) << text;
    }
    expectParts(oid, "system", "ipAddress");
}

TEST(ToskOID, IsEmptyEvenWithChildren) {
    ToskOID child;
    ToskOID oid("a.b", 1);
    EXPECT_TRUE(oid.isEmpty());
    oid.addChild(&child);
    EXPECT_TRUE(oid.isEmpty());
}

}  // namespace

}  // namespace model
