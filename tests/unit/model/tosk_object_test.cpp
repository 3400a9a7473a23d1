#include "model/tosk_object.h"

#include <gtest/gtest.h>

#include "model/tosk_device.h"
#include "model/tosk_menu.h"
#include "model/tosk_oid.h"

namespace model {

namespace {

TEST(ToskObject, StartsWithNothing) {
    const ToskMenu object;
    EXPECT_EQ("", object.name());
    EXPECT_EQ(0, object.id());
    EXPECT_EQ(0, object.unique());
    EXPECT_FALSE(object.disabled());
    EXPECT_FALSE(object.hidden());
    EXPECT_TRUE(object.children().empty());
    EXPECT_EQ(nullptr, object.parent());
    EXPECT_TRUE(object.isEmpty());
}

TEST(ToskObject, EachClassHasItsKind) {
    EXPECT_EQ(1, ToskDevice().kind());
    EXPECT_EQ(2, ToskMenuGroup().kind());
    EXPECT_EQ(3, ToskMenu().kind());
    EXPECT_EQ(5, ToskOID().kind());
}

TEST(ToskObject, ChildrenKeepTheirOrderAndLearnTheirParent) {
    ToskOID first;
    ToskOID second;
    ToskMenu menu;
    menu.addChild(&first);
    menu.addChild(&second);
    EXPECT_EQ((std::vector<ToskObject*>{&first, &second}), menu.children());
    EXPECT_EQ(&menu, first.parent());
    EXPECT_EQ(&menu, second.parent());
    EXPECT_FALSE(menu.isEmpty());
}

TEST(ToskObject, ChildrenOutliveTheObjectTheyWereAddedTo) {
    ToskOID child("system.ipAddress", 1);
    {
        ToskMenu menu;
        menu.addChild(&child);
    }
    EXPECT_EQ("system.ipAddress", child.toString());
}

}  // namespace

}  // namespace model
