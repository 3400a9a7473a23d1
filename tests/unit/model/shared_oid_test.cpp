#include "model/shared_oid.h"

#include <atomic>
#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace model {

namespace {

const ToskOID kLocal("system.ipAddress", 1);
const ToskOID kTunnelled("frameB.system.ipAddress", 1);

TEST(SharedOID, StartsEmpty) {
    EXPECT_EQ(ToskOID(), SharedOID().get());
}

TEST(SharedOID, GivesWhatWasSetLast) {
    SharedOID oid;
    oid.set(kLocal);
    EXPECT_EQ(kLocal, oid.get());
    oid.set(kTunnelled);
    EXPECT_EQ(kTunnelled, oid.get());
    oid.set(ToskOID());
    EXPECT_EQ(ToskOID(), oid.get());
}

TEST(SharedOID, UnchangedIdentifierIsNotRewritten) {
    SharedOID oid;
    oid.set(kLocal);
    const ToskOID* before = &oid.get();
    oid.set(ToskOID("system.ipAddress", 1));
    EXPECT_EQ(before, &oid.get());
    SharedOID unnamed;
    const ToskOID* none = &unnamed.get();
    unnamed.set(ToskOID());
    EXPECT_EQ(none, &unnamed.get());
}

TEST(SharedOID, RetiredIdentifierStaysReadableAndIsUsedAgain) {
    SharedOID oid;
    oid.set(kLocal);
    const ToskOID& held = oid.get();
    oid.set(kTunnelled);
    EXPECT_EQ("system.ipAddress", held.toString());
    oid.set(kLocal);
    EXPECT_EQ(&held, &oid.get());
}

TEST(SharedOID, RenamingForEverKeepsOneIdentifierPerName) {
    SharedOID oid;
    std::set<const ToskOID*> seen;
    for (int i = 0; i < 1000; ++i) {
        oid.set(i % 2 ? kLocal : kTunnelled);
        seen.insert(&oid.get());
    }
    EXPECT_EQ(2U, seen.size());
}

TEST(SharedOID, CopyOutlivesItsOriginal) {
    SharedOID copy;
    {
        SharedOID original;
        original.set(kLocal);
        SharedOID constructed(original);
        original.set(kTunnelled);
        EXPECT_EQ(kLocal, constructed.get());
        copy = constructed;
    }
    EXPECT_EQ("system.ipAddress", copy.get().toString());
}

TEST(SharedOID, AssignmentKeepsWhatReadersHold) {
    SharedOID oid;
    oid.set(kLocal);
    const ToskOID& held = oid.get();
    SharedOID other;
    other.set(kTunnelled);
    oid = other;
    EXPECT_EQ(kTunnelled, oid.get());
    EXPECT_EQ("system.ipAddress", held.toString());
}

TEST(SharedOID, ReaderOnAnotherThreadSeesWholeIdentifiersDuringRenames) {
    SharedOID oid;
    oid.set(kLocal);
    std::atomic<bool> done{false};
    std::set<std::string> seen;
    std::thread reader([&] {
        do {
            seen.insert(oid.get().toString());
        } while (!done);
    });
    for (int i = 0; i < 5000; ++i) {
        oid.set(i % 2 ? kLocal : kTunnelled);
    }
    done = true;
    reader.join();
    seen.insert({"system.ipAddress", "frameB.system.ipAddress"});
    EXPECT_EQ(2U, seen.size());
}

}  // namespace

}  // namespace model
