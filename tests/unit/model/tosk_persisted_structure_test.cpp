#include "model/tosk_persisted_structure.h"

#include <gtest/gtest.h>

#include "support/captured_log.h"
#include "support/temporary_directory.h"
#include "tosk_test_support.h"

namespace model {

namespace {

void read(ToskPersistedStructure& structure, const std::string& json) {
    EXPECT_EQ(0, structure.fromJSON(parsed(json).get())) << json;
}

TEST(ToskPersistedStructure, IsNamedAfterItsContents) {
    EXPECT_STREQ("toskDeviceStructure", ToskPersistedStructure("any").getName());
}

TEST(ToskPersistedStructure, WritesItsDevicesInOrder) {
    ToskDevice first;
    first.setSlot(2);
    ToskDevice second;
    second.setSlot(1);
    ToskPersistedStructure structure("any");
    EXPECT_EQ(R"({"devices":[]})", rendered(structure.toJSON()));
    structure.addDevice(&first);
    structure.addDevice(&second);
    EXPECT_EQ(R"({"devices":[{"type":"device","slot":2},{"type":"device","slot":1}]})",
              rendered(structure.toJSON()));
}

TEST(ToskPersistedStructure, ReadsItsDevicesInOrderBehindThoseThatWereThere) {
    ToskDevice added;
    {
        ToskPersistedStructure structure("any");
        structure.addDevice(&added);
        read(structure, R"({"devices":[{"slot":2},{"slot":1}]})");
        ASSERT_EQ(3U, structure.devices().size());
        EXPECT_EQ(&added, structure.devices()[0]);
        EXPECT_EQ(2, structure.devices()[1]->slot());
        EXPECT_EQ(1, structure.devices()[2]->slot());
    }
    added.setSlot(7);
    EXPECT_EQ(7, added.slot()) << "what others added outlives the structure";
}

TEST(ToskPersistedStructure, KeepsADeviceWithoutMenuGroupsAndItsParameters) {
    ToskPersistedStructure structure("any");
    read(structure,
         R"({"devices":[{"slot":3,"params":{"k":{"oid":"system.x","type":"INT32","value":5}}}]})");
    ASSERT_EQ(1U, structure.devices().size());
    const ToskParam* param = structure.devices()[0]->findParam("system.x");
    ASSERT_NE(nullptr, param);
    EXPECT_EQ(5, integerOf(*param));
}

TEST(ToskPersistedStructure, EveryElementBecomesADevice) {
    ToskPersistedStructure structure("any");
    read(structure, R"({"devices":[7,null,"x",[],{},{"type":"menu","slot":1},{"slot":2}]})");
    EXPECT_EQ(7U, structure.devices().size());
    EXPECT_EQ(0, structure.devices()[5]->slot());
    EXPECT_EQ(2, structure.devices()[6]->slot());
}

TEST(ToskPersistedStructure, RefusesWhatHasNoDevices) {
    ToskPersistedStructure structure("any");
    EXPECT_EQ(-1, structure.fromJSON(nullptr));
    for (const char* json : {"{}", "7", "null", "[]", R"({"Devices":[]})"}) {
        EXPECT_EQ(-1, structure.fromJSON(parsed(json).get())) << json;
    }
}

TEST(ToskPersistedStructure, DevicesThatAreNoListAreNone) {
    ToskPersistedStructure structure("any");
    for (const char* devices : {"7", "\"x\"", "null", "true", "{}"}) {
        read(structure, std::string(R"({"devices":)") + devices + "}");
    }
    EXPECT_TRUE(structure.devices().empty());
}

TEST(ToskPersistedStructure, SavesAndLoadsItsDevices) {
    const CapturedLog log;
    const TemporaryDirectory directory;
    ToskDevice device;
    device.setSlot(3);
    ToskParam param = makeParam("system.systemName", kTypeString);
    param.setValue(std::make_shared<ToskStringValue>("System"));
    device.addParam(std::make_unique<ToskParam>(param));
    ToskPersistedStructure saved(directory.path("state"));
    saved.addDevice(&device);
    saved.saveToOwnPath(true);

    ToskPersistedStructure loaded(directory.path("state"));
    EXPECT_EQ(0, loaded.load());
    ASSERT_EQ(1U, loaded.devices().size());
    EXPECT_EQ(rendered(device.toJSON()), rendered(loaded.devices()[0]->toJSON()));
    EXPECT_TRUE(log.lines().empty());
}

TEST(ToskPersistedStructure, FileHoldsVersionThenTheDevicesUnderTheName) {
    const CapturedLog log;
    const TemporaryDirectory directory;
    ToskPersistedStructure structure(directory.path("state"));
    structure.saveToOwnPath(true);
    EXPECT_EQ(R"({"version":0,"toskDeviceStructure":{"devices":[]}})",
              rendered(parsed(directory.read("state.json"))));
}

TEST(ToskPersistedStructure, DerivedClassesMayBearAnotherName) {
    struct Named final : ToskPersistedStructure {
        using ToskPersistedStructure::ToskPersistedStructure;
        const char* getName() const override { return "systemState"; }
    };
    const CapturedLog log;
    const TemporaryDirectory directory;
    Named structure(directory.path("state"));
    structure.saveToOwnPath(true);
    EXPECT_EQ(R"({"version":0,"systemState":{"devices":[]}})",
              rendered(parsed(directory.read("state.json"))));
}

}  // namespace

}  // namespace model
