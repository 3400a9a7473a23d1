#include "model/tosk_menu.h"

#include <limits>

#include <gtest/gtest.h>

#include "tosk_test_support.h"

namespace model {

namespace {

void read(ToskObject& object, const std::string& json) {
    EXPECT_EQ(0, object.fromJSON(parsed(json).get())) << json;
}

TEST(ToskMenu, WritesItsMembersInOrder) {
    ToskOID address("system.ipAddress", 1);
    ToskOID mask("system.netmask", 1);
    ToskMenu menu;
    menu.setName("Network");
    menu.setId(4);
    menu.setUnique(17);
    menu.setHidden(true);
    menu.addChild(&mask);
    menu.addChild(&address);
    EXPECT_EQ(R"({"name":"Network","id":4,"unique":17,"disabled":false,"hidden":true,)"
              R"("oids":["system.netmask","system.ipAddress"]})",
              rendered(menu.toJSON()));
}

TEST(ToskMenu, EmptyMenuWritesAllItsMembers) {
    EXPECT_EQ(R"({"name":"","id":0,"unique":0,"disabled":false,"hidden":false,"oids":[]})",
              rendered(ToskMenu().toJSON()));
}

TEST(ToskMenu, ReadsWhatItWrites) {
    const std::string json =
        R"({"name":"Network","id":4,"unique":17,"disabled":true,"hidden":false,)"
        R"("oids":["system.netmask","system.net.ip"]})";
    ToskMenu menu;
    read(menu, json);
    EXPECT_EQ(json, rendered(menu.toJSON()));
}

TEST(ToskMenu, RefusesANullItemOnly) {
    ToskMenu menu;
    EXPECT_EQ(-1, menu.fromJSON(nullptr));
    for (const char* json : {"{}", "null", "7", "\"menu\"", "[]"}) {
        read(menu, json);
    }
    EXPECT_EQ(rendered(ToskMenu().toJSON()), rendered(menu.toJSON()));
}

TEST(ToskMenu, AbsentMembersKeepWhatWasThere) {
    ToskMenu menu;
    const std::string json =
        R"({"name":"N","id":4,"unique":17,"disabled":true,"hidden":true,"oids":["a.b"]})";
    read(menu, json);
    read(menu, R"({"name":7})");
    EXPECT_EQ(json, rendered(menu.toJSON()));
}

TEST(ToskMenu, FlagsAreTrueForTheLiteralOnly) {
    for (const char* item : {"1", "\"true\"", "null", "false", "[true]"}) {
        ToskMenu menu;
        menu.setHidden(true);
        menu.setDisabled(true);
        read(menu, std::string(R"({"hidden":)") + item + R"(,"disabled":)" + item + "}");
        EXPECT_FALSE(menu.hidden()) << item;
        EXPECT_FALSE(menu.disabled()) << item;
    }
}

TEST(ToskMenu, FlagsAreReadEachForItself) {
    ToskMenu menu;
    read(menu, R"({"hidden":true,"disabled":false})");
    EXPECT_TRUE(menu.hidden());
    EXPECT_FALSE(menu.disabled());
    read(menu, R"({"hidden":false,"disabled":true})");
    EXPECT_FALSE(menu.hidden());
    EXPECT_TRUE(menu.disabled());
}

TEST(ToskMenu, NumbersAreCutAndSaturate) {
    ToskMenu menu;
    read(menu, R"({"id":3.9,"unique":-3.9})");
    EXPECT_EQ(3, menu.id());
    EXPECT_EQ(-3, menu.unique());
    read(menu, R"({"id":1e300,"unique":-1e300})");
    EXPECT_EQ(std::numeric_limits<int32_t>::max(), menu.id());
    EXPECT_EQ(std::numeric_limits<int32_t>::min(), menu.unique());
    read(menu, R"({"id":"7","unique":null})");
    EXPECT_EQ(0, menu.id());
    EXPECT_EQ(0, menu.unique());
}

TEST(ToskMenu, IdentifiersThatAreNoTextsAreDiscarded) {
    ToskMenu menu;
    read(menu, R"({"oids":["a.b",7,null,["c.d"],{},"undotted","e.f"]})");
    ASSERT_EQ(3U, menu.children().size());
    EXPECT_EQ(R"("a.b")", rendered(menu.children()[0]->toJSON()));
    EXPECT_EQ(R"(".")", rendered(menu.children()[1]->toJSON()));
    EXPECT_EQ(R"("e.f")", rendered(menu.children()[2]->toJSON()));
    EXPECT_EQ(&menu, menu.children()[0]->parent());
}

TEST(ToskMenu, IdentifiersThatAreNoListAreNone) {
    ToskMenu menu;
    for (const char* oids : {"7", "\"a.b\"", "null", "{}"}) {
        read(menu, std::string(R"({"oids":)") + oids + "}");
    }
    EXPECT_TRUE(menu.isEmpty());
}

TEST(ToskMenu, ReadIdentifiersFollowThoseThatWereThere) {
    ToskOID added("a.b", 1);
    {
        ToskMenu menu;
        menu.addChild(&added);
        read(menu, R"({"oids":["c.d"]})");
        ASSERT_EQ(2U, menu.children().size());
        EXPECT_EQ(&added, menu.children()[0]);
    }
    EXPECT_EQ("a.b", added.toString()) << "what others added outlives the menu";
}

TEST(ToskMenuGroup, WritesItsMembersInOrder) {
    ToskMenu menu;
    menu.setName("Network");
    ToskMenuGroup group;
    group.setName("System");
    group.setId(2);
    group.addChild(&menu);
    EXPECT_EQ(R"({"name":"System","menuid":2,"menus":[{"name":"Network","id":0,"unique":0,)"
              R"("disabled":false,"hidden":false,"oids":[]}]})",
              rendered(group.toJSON()));
    EXPECT_EQ(R"({"name":"","menuid":0,"menus":[]})", rendered(ToskMenuGroup().toJSON()));
}

TEST(ToskMenuGroup, ReadsWhatItWrites) {
    const std::string json =
        R"({"name":"System","menuid":2,"menus":[{"name":"Network","id":1,"unique":3,)"
        R"("disabled":true,"hidden":true,"oids":["a.b"]}]})";
    ToskMenuGroup group;
    read(group, json);
    EXPECT_EQ(json, rendered(group.toJSON()));
    EXPECT_EQ(&group, group.children()[0]->parent());
}

TEST(ToskMenuGroup, RefusesANullItemOnly) {
    ToskMenuGroup group;
    EXPECT_EQ(-1, group.fromJSON(nullptr));
    for (const char* json : {"{}", "7", "[]", R"({"name":7,"menus":7})", R"({"menus":{}})"}) {
        read(group, json);
    }
    EXPECT_EQ(rendered(ToskMenuGroup().toJSON()), rendered(group.toJSON()));
}

TEST(ToskMenuGroup, EveryElementBecomesAMenu) {
    ToskMenuGroup group;
    read(group, R"({"menus":[7,null,{"name":"N"}]})");
    ASSERT_EQ(3U, group.children().size());
    EXPECT_EQ("N", group.children()[2]->name());
}

TEST(ToskMenuGroup, NumberIsCutAndSaturates) {
    ToskMenuGroup group;
    read(group, R"({"menuid":-2.9})");
    EXPECT_EQ(-2, group.id());
    read(group, R"({"menuid":4294967296})");
    EXPECT_EQ(std::numeric_limits<int32_t>::max(), group.id());
}

}  // namespace

}  // namespace model
