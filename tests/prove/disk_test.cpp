#include "disk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::Contains;
using testing::Not;
using testing::UnorderedElementsAre;

namespace prove {

namespace {

const Entry kOld = plainFile("old!");
const Entry kNew = plainFile("new!");
const Entry kTorn = plainFile("ne");
const Entry kEmpty = plainFile("");

// A new file beside the old one.
size_t begin(Disk& disk) {
    const size_t file = disk.open("file.new", true, false);
    disk.write(file, "new!");
    return file;
}

TEST(Disk, KeepsWhatWasThere) {
    EXPECT_THAT(Disk({{"file", kOld}}).leftovers(),
                UnorderedElementsAre(Directory{{"file", kOld}}));
}

TEST(Disk, BytesThatWereNotSyncedAreThereNotThereOrTorn) {
    Disk disk({});
    begin(disk);
    disk.syncDirectory();
    EXPECT_THAT(disk.leftovers(), UnorderedElementsAre(Directory{{"file.new", kEmpty}},
                                                       Directory{{"file.new", kTorn}},
                                                       Directory{{"file.new", kNew}}));
}

TEST(Disk, ATruncatedFileMayStillHaveItsOldBytes) {
    Disk disk({{"file", kOld}});
    disk.open("file", true, true);
    EXPECT_THAT(disk.leftovers(),
                UnorderedElementsAre(Directory{{"file", kOld}}, Directory{{"file", kEmpty}}));
}

TEST(Disk, ANameIsSureOnlyAfterTheDirectoryWasSynced) {
    Disk disk({});
    disk.sync(begin(disk));
    EXPECT_THAT(disk.leftovers(), UnorderedElementsAre(Directory{}, Directory{{"file.new", kNew}}));
    disk.syncDirectory();
    EXPECT_THAT(disk.leftovers(), UnorderedElementsAre(Directory{{"file.new", kNew}}));
}

TEST(Disk, ALaterNameMayBeSureBeforeAnEarlierOne) {
    Disk disk({{"file", kOld}});
    disk.sync(begin(disk));
    disk.rename("file", "file.old");
    disk.rename("file.new", "file");
    EXPECT_THAT(disk.leftovers(), Contains(Directory{{"file", kNew}}));
    EXPECT_THAT(disk.leftovers(), Contains(Directory{{"file.old", kOld}}));
    EXPECT_THAT(disk.leftovers(), Contains(Directory{{"file", kNew}, {"file.old", kOld}}));
}

TEST(Disk, ARenamedFileThatWasNotSyncedMayBeEmpty) {
    Disk disk({{"file", kOld}});
    begin(disk);
    disk.rename("file.new", "file");
    disk.syncDirectory();
    EXPECT_THAT(disk.leftovers(), Contains(Directory{{"file", kEmpty}}));
    EXPECT_THAT(disk.leftovers(), Not(Contains(Directory{{"file", kOld}})));
}

}  // namespace

}  // namespace prove
