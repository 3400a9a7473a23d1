#include "bus/name_query.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "payloads.h"
#include "util/json.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Optional;

namespace {

TarnInternalMessage get(const std::string& data) {
    return received("[\"GET\", \"system\", 8, 0, 0]\n" + data);
}

std::string scannedId(const std::string& data) {
    std::string_view id;
    return lumo::scanNameQuery(data, id) ? std::string(id) : "not scanned";
}

lumo::NameQuery byLibrary(const util::UniqueJSON& data) {
    return lumo::readNameQuery(data.get());
}

}  // namespace

TEST(NameQuery, UsualDataIsScanned) {
    std::string_view id;
    const auto values =
        lumo::scanNameQuery(R"({"id":"1@bench","param":{"objectName":["a","b c"]}})", id);
    ASSERT_TRUE(values);
    EXPECT_EQ(id, "1@bench");
    EXPECT_THAT(values->values, Optional(ElementsAre("a", "b c")));
    EXPECT_FALSE(values->descriptors);
    const auto descriptors =
        lumo::scanNameQuery(R"({ "id" : "2", "paramDescriptor": { "objectName": [ "a" ] } })", id);
    ASSERT_TRUE(descriptors);
    EXPECT_FALSE(descriptors->values);
    EXPECT_THAT(descriptors->descriptors, Optional(ElementsAre("a")));
}

TEST(NameQuery, AnyOtherDataIsLeftToTheLibrary) {
    for (const std::string data :
         {R"({"id":"1","param":{"objectName":["a"],"arguments":1}})", R"({"param":{},"id":"1"})",
          R"({"id":"1","param":{"objectName":[]}})", R"({"id":"1","param":{"objectName":["a",7]}})",
          R"({"id":"1","param":{"objectName":["a\u0062"]}})", R"({"id":"1","more":{}})",
          R"({"id":"1","param":{"objectName":["a"]})", R"({"id":1,"param":{"objectName":["a"]}})",
          R"({"id":"1","params":{"objectName":["a"]}})", ""}) {
        EXPECT_EQ(scannedId(data), "not scanned") << data;
    }
}

TEST(NameQuery, ALongListIsLeftToTheLibrary) {
    std::string names = "\"a\"";
    for (int i = 0; i < 63; ++i) {
        names += ",\"a\"";
    }
    EXPECT_EQ(scannedId(R"({"id":"1","param":{"objectName":[)" + names + "]}}"), "1");
    EXPECT_EQ(scannedId(R"({"id":"1","param":{"objectName":[)" + names + ",\"a\"]}}"),
              "not scanned");
}

TEST(NameQuery, TheLibraryReadsStringsOfArraysOnly) {
    const util::UniqueJSON data = util::parseJSON(
        R"({"param":{"objectName":["a",7,null,"\u0062"]},"paramDescriptor":{"objectName":[]}})",
        82);
    const lumo::NameQuery query = byLibrary(data);
    EXPECT_THAT(query.values, Optional(ElementsAre("a", "b")));
    EXPECT_THAT(query.descriptors, Optional(IsEmpty()));
    EXPECT_FALSE(byLibrary(util::parseJSON(R"({"param":{"objectName":"a"}})", 28)).values);
    EXPECT_FALSE(lumo::readNameQuery(nullptr).values);
}

// A tab sends the data to the library.
TEST(NameQuery, OfAMessageIsTheSameForEveryForm) {
    for (const std::string rest : {R"("id":"1@b","param":{"objectName":["a","b"]}})",
                                   R"("id":"","param":{"objectName":["a"]}})",
                                   R"("id":"1","paramDescriptor":{"objectName":["a"]}} more)"}) {
        const TarnInternalMessage message = get("{" + rest);
        const TarnInternalMessage same = get("{\t" + rest);
        EXPECT_EQ(message.nameQuery().values, same.nameQuery().values) << rest;
        EXPECT_EQ(message.nameQuery().descriptors, same.nameQuery().descriptors) << rest;
        EXPECT_EQ(message.uniqueId(), same.uniqueId()) << rest;
    }
}

TEST(NameQuery, OfAMessageFollowsItsMovesAndItsData) {
    TarnInternalMessage from = get(R"({"id":"1","param":{"objectName":["a"]}})");
    EXPECT_THAT(from.nameQuery().values, Optional(ElementsAre("a")));
    TarnInternalMessage message = std::move(from);
    EXPECT_THAT(message.nameQuery().values, Optional(ElementsAre("a")));
    EXPECT_TRUE(cJSON_IsObject(message.takeData().get()));
    EXPECT_FALSE(message.nameQuery().values);
}

TEST(NameQuery, DataWithAnIdOfMoreThan64KiBCountsAsNone) {
    const std::string rest = R"(","param":{"objectName":["a"]}})";
    const std::string id(64 * 1024, 'i');
    EXPECT_TRUE(get(R"({"id":")" + id + rest).nameQuery().values);
    EXPECT_FALSE(get(R"({"id":"i)" + id + rest).nameQuery().values);
}
