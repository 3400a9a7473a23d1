#include "model/tosk_device.h"

#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tosk_test_support.h"

namespace model {

namespace {

using testing::ElementsAre;

// Reads `json`, which gives -1 whatever it is.
void read(ToskDevice& device, const std::string& json) {
    EXPECT_EQ(-1, device.fromJSON(parsed(json).get())) << json;
}

ToskParam* add(ToskDevice& device, const std::string& oid,
               std::shared_ptr<ToskValue> value = nullptr) {
    ToskParam param = makeParam(oid, value ? value->type() : 0);
    param.setValue(std::move(value));
    return device.addParam(std::make_unique<ToskParam>(param));
}

std::vector<std::string> keysOf(const ToskDevice& device) {
    std::vector<std::string> keys;
    for (const auto& [key, param] : device.params()) {
        keys.push_back(key);
    }
    return keys;
}

TEST(ToskDevice, StartsEmptyInSlotZero) {
    const ToskDevice device;
    EXPECT_EQ(0, device.slot());
    EXPECT_TRUE(device.params().empty());
    EXPECT_TRUE(device.isEmpty());
}

TEST(ToskDevice, FindsAParameterByItsKey) {
    ToskDevice device;
    ToskParam* address = add(device, "system.ipAddress");
    EXPECT_EQ(address, device.findParam("system.ipAddress"));
    for (const char* key : {"", ".", "ipAddress", "system.ipaddress", "system.ipAddress "}) {
        EXPECT_EQ(nullptr, device.findParam(key)) << key;
    }
}

TEST(ToskDevice, FindsAParameterUnderItsOldKeyAfterARename) {
    ToskDevice device;
    ToskParam* address = add(device, "system.ipAddress");
    address->setOid(ToskOID::fromParts("frameB.system", "ipAddress"));
    EXPECT_EQ(address, device.findParam("system.ipAddress"));
    EXPECT_EQ(nullptr, device.findParam("frameB.system.ipAddress"));
}

TEST(ToskDevice, AddingUnderTheSameKeyDestroysTheOlder) {
    ToskDevice device;
    const auto value = std::make_shared<ToskIntegerValue>(1);
    add(device, "system.x", value);
    EXPECT_EQ(2, value.use_count());
    ToskParam* later = add(device, "system.x");
    EXPECT_EQ(1, value.use_count());
    EXPECT_EQ(later, device.findParam("system.x"));
    EXPECT_EQ(1U, device.params().size());
}

TEST(ToskDevice, DestroysItsParameters) {
    const auto value = std::make_shared<ToskIntegerValue>(1);
    {
        ToskDevice device;
        add(device, "system.x", value);
        EXPECT_EQ(2, value.use_count());
    }
    EXPECT_EQ(1, value.use_count());
}

TEST(ToskDevice, FindsTheFirstParameterOfADisplayNameInKeyOrder) {
    ToskDevice device;
    add(device, "system.b")->setName("Active");
    ToskParam* first = add(device, "system.a");
    first->setName("Active");
    EXPECT_EQ(first, device.findParamByName("Active"));
    EXPECT_EQ(nullptr, device.findParamByName("active"));
    EXPECT_EQ(nullptr, device.findParamByName("Activ"));
    EXPECT_EQ(nullptr, ToskDevice().findParamByName(""));
}

TEST(ToskDeviceToJSON, EmptyDeviceWritesTypeAndSlotOnly) {
    EXPECT_EQ(R"({"type":"device","slot":0})", rendered(ToskDevice().toJSON()));
}

TEST(ToskDeviceToJSON, WritesGroupsBeforeParametersAndBothUnderTheirKeys) {
    ToskMenuGroup group;
    group.setName("System");
    ToskDevice device;
    device.setSlot(3);
    device.addChild(&group);
    add(device, "system.x");
    EXPECT_EQ(R"({"type":"device","slot":3,)"
              R"("menu_groups":{"System":{"name":"System","menuid":0,"menus":[]}},)"
              R"("params":{"d_system.x":{"oid":"system.x","name":"","type":"INT16",)"
              R"("readonly":false}}})",
              rendered(device.toJSON()));
}

TEST(ToskDeviceToJSON, GroupsOfTheSameNameGiveTwoMembers) {
    ToskMenuGroup first;
    ToskMenuGroup second;
    second.setId(1);
    ToskDevice device;
    device.addChild(&first);
    device.addChild(&second);
    EXPECT_EQ(R"({"type":"device","slot":0,"menu_groups":)"
              R"({"":{"name":"","menuid":0,"menus":[]},"":{"name":"","menuid":1,"menus":[]}}})",
              rendered(device.toJSON()));
}

TEST(ToskDeviceToJSON, ParametersComeInByteOrderOfTheirKeys) {
    ToskDevice device;
    for (const char* oid : {"system.b", "system.a", "system.B", "system.a.b", "system.é"}) {
        add(device, oid);
    }
    EXPECT_THAT(keysOf(device),
                ElementsAre("system.B", "system.a", "system.a.b", "system.b", "system.é"));
    EXPECT_EQ(R"({"system.B":null,"system.a":null,"system.a.b":null,"system.b":null,)"
              R"("system.é":null})",
              rendered(device.valuesToJSON()));
}

TEST(ToskDeviceToJSON, UnpublishedParametersAreLeftOut) {
    ToskDevice device;
    add(device, "system.hidden")->setPublished(false);
    EXPECT_EQ(R"({"type":"device","slot":0,"params":{}})", rendered(device.toJSON()));
    add(device, "system.x");
    EXPECT_EQ(R"({"type":"device","slot":0,"params":{"d_system.x":{"oid":"system.x","name":"",)"
              R"("type":"INT16","readonly":false}}})",
              rendered(device.toJSON()));
}

TEST(ToskDeviceToJSON, ValuesIncludeEveryParameterPublishedOrNot) {
    ToskDevice device;
    EXPECT_EQ("{}", rendered(device.valuesToJSON()));
    add(device, "system.text", std::make_shared<ToskStringValue>("up"))->setPublished(false);
    add(device, "system.number", std::make_shared<ToskIntegerValue>(5));
    EXPECT_EQ(R"({"system.number":5,"system.text":"up"})", rendered(device.valuesToJSON()));
}

TEST(ToskDeviceToJSON, ParameterWithoutValueOrValueClassIsServedAsNull) {
    ToskDevice device;
    add(device, "system.a");
    add(device, "system.b")->setType(kTypeStructArray);
    EXPECT_EQ(R"({"system.a":null,"system.b":null})", rendered(device.valuesToJSON()));
}

TEST(ToskDeviceToJSON, RenamedParameterShowsItsNewIdentifierInItsOldPlace) {
    ToskDevice device;
    add(device, "system.b", std::make_shared<ToskIntegerValue>(1));
    add(device, "system.a", std::make_shared<ToskIntegerValue>(2))
        ->setOid(ToskOID::fromParts("x.system", "a"));
    EXPECT_EQ(R"({"x.system.a":2,"system.b":1})", rendered(device.valuesToJSON()));
    const util::UniqueJSON json = device.toJSON();
    EXPECT_NE(nullptr, util::jsonMember(util::jsonMember(json.get(), "params"), "d_x.system.a"));
}

TEST(ToskDeviceFromJSON, GivesMinusOneAlsoAfterACompleteRead) {
    const std::string json =
        R"({"type":"device","slot":3,"menu_groups":{"System":{"name":"System","menuid":1,)"
        R"("menus":[]}},"params":{"d_system.x":{"oid":"system.x","name":"X","type":"INT32",)"
        R"("readonly":true,"value":5}}})";
    ToskDevice device;
    read(device, json);
    EXPECT_EQ(json, rendered(device.toJSON()));
}

TEST(ToskDeviceFromJSON, NullItemReadsNothing) {
    ToskDevice device;
    EXPECT_EQ(-1, device.fromJSON(nullptr));
    EXPECT_EQ(rendered(ToskDevice().toJSON()), rendered(device.toJSON()));
}

TEST(ToskDeviceFromJSON, ForeignTypeReadsNothing) {
    ToskDevice device;
    read(device, R"({"type":"menu","slot":3,"params":{"a":{"oid":"a.b","type":"INT32"}}})");
    EXPECT_EQ(rendered(ToskDevice().toJSON()), rendered(device.toJSON()));
}

TEST(ToskDeviceFromJSON, MissingTypeAndOneThatIsNoTextAreAccepted) {
    for (const char* type : {"", R"("type":7,)", R"("type":null,)"}) {
        ToskDevice device;
        read(device, std::string("{") + type + R"("slot":3})");
        EXPECT_EQ(3, device.slot()) << type;
    }
}

TEST(ToskDeviceFromJSON, SlotIsAnIntegerAndTrueIsOne) {
    for (const auto& [slot, expected] : {std::pair{"true", 1}, {"false", 0}, {"2.9", 2}}) {
        ToskDevice device;
        read(device, std::string(R"({"slot":)") + slot + "}");
        EXPECT_EQ(expected, device.slot()) << slot;
    }
}

TEST(ToskDeviceFromJSON, MissingSlotReadsNothing) {
    ToskDevice device;
    device.setSlot(7);
    read(device, R"({"type":"device","params":{"a":{"oid":"a.b","type":"INT32"}}})");
    EXPECT_EQ(7, device.slot());
    EXPECT_TRUE(device.params().empty());
}

TEST(ToskDeviceFromJSON, SlotIsCutAndSaturates) {
    ToskDevice device;
    read(device, R"({"slot":3.9})");
    EXPECT_EQ(3, device.slot());
    read(device, R"({"slot":1e300})");
    EXPECT_EQ(std::numeric_limits<int32_t>::max(), device.slot());
    read(device, R"({"slot":"7"})");
    EXPECT_EQ(0, device.slot());
}

TEST(ToskDeviceFromJSON, MissingMenuGroupsKeepTheParametersRead) {
    ToskDevice device;
    read(device, R"({"slot":3,"params":{"any key":{"oid":"system.x","type":"INT32"}}})");
    EXPECT_THAT(keysOf(device), ElementsAre("system.x"));
}

TEST(ToskDeviceFromJSON, LaterParameterOfTheSameOidReplacesTheEarlier) {
    ToskDevice device;
    read(device, R"({"slot":0,"params":{"a":{"oid":"system.x","type":"INT32","value":1},
                                        "b":{"oid":"system.x","type":"INT32","value":2}}})");
    ASSERT_THAT(keysOf(device), ElementsAre("system.x"));
    EXPECT_EQ(2, integerOf(*device.findParam("system.x")));
}

TEST(ToskDeviceFromJSON, ReadParameterReplacesOneThatWasAdded) {
    ToskDevice device;
    add(device, "system.x", std::make_shared<ToskIntegerValue>(1));
    read(device, R"({"slot":0,"params":{"a":{"oid":"system.x","type":"INT32"}}})");
    EXPECT_EQ(nullptr, device.findParam("system.x")->value());
}

TEST(ToskDeviceFromJSON, UnreadableParametersAreDiscarded) {
    ToskDevice device;
    read(device, R"({"slot":0,"params":{"a":7,"b":null,"c":[],"d":{"oid":"no.type"},
        "e":{"type":"INT32"},"f":{"oid":"system.x","type":"INT32"}}})");
    EXPECT_THAT(keysOf(device), ElementsAre("system.x"));
}

TEST(ToskDeviceFromJSON, ParametersInAListAreReadLikeMembers) {
    ToskDevice device;
    read(device, R"({"slot":0,"params":[{"oid":"system.x","type":"INT32"}]})");
    EXPECT_THAT(keysOf(device), ElementsAre("system.x"));
}

TEST(ToskDeviceFromJSON, ParametersAndGroupsThatHoldNothingAreNone) {
    for (const char* item : {"7", "\"x\"", "null", "true", "{}", "[]"}) {
        ToskDevice device;
        read(device,
             std::string(R"({"slot":0,"params":)") + item + R"(,"menu_groups":)" + item + "}");
        EXPECT_TRUE(device.params().empty()) << item;
        EXPECT_TRUE(device.isEmpty()) << item;
    }
}

TEST(ToskDeviceFromJSON, GroupsAreListedWithoutBeingToldOfTheirParent) {
    ToskDevice device;
    read(device, R"({"slot":0,"menu_groups":{"one":{"name":"First","menus":[{"oids":["a.b"]}]},
                                             "two":{"name":"Second"}}})");
    ASSERT_EQ(2U, device.children().size());
    EXPECT_EQ("First", device.children()[0]->name());
    EXPECT_EQ("Second", device.children()[1]->name());
    EXPECT_EQ(nullptr, device.children()[0]->parent());
    EXPECT_EQ(device.children()[0], device.children()[0]->children()[0]->parent());
}

TEST(ToskDeviceFromJSON, GroupsThatOthersAddedOutliveTheDevice) {
    ToskMenuGroup group;
    group.setName("Mine");
    {
        ToskDevice device;
        device.addChild(&group);
        read(device, R"({"slot":0,"menu_groups":{"one":{"name":"Read"}}})");
        EXPECT_EQ(2U, device.children().size());
    }
    EXPECT_EQ("Mine", group.name());
}

TEST(ToskDeviceFromJSON, GroupThatIsNoObjectIsAnEmptyGroup) {
    ToskDevice device;
    read(device, R"({"slot":0,"menu_groups":[7,null]})");
    EXPECT_EQ(2U, device.children().size());
}

TEST(ToskDeviceRename, ParameterIsFoundUnderItsNewTextOnly) {
    ToskDevice device;
    read(device,
         R"({"slot":0,"params":{"a":{"oid":"x.system.name","type":"STRING","value":"v"}}})");
    device.rename("x.system.name", ToskOID("system.name", 1));
    EXPECT_EQ(nullptr, device.findParam("x.system.name"));
    ASSERT_NE(nullptr, device.findParam("system.name"));
    EXPECT_EQ("system.name", device.findParam("system.name")->oid().toString());
    EXPECT_EQ("v", device.findParam("system.name")->valueToString());
}

TEST(ToskDeviceRename, UnknownKeyChangesNothing) {
    ToskDevice device;
    device.rename("x.system.name", ToskOID("system.name", 1));
    EXPECT_TRUE(device.params().empty());
}

}  // namespace

}  // namespace model
