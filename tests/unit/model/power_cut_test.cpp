// The power is cut during and after a save: a container has to find its old state or its new one.
//
// A save is recorded as the changes it asks of the disk. The disk may have made any of them when
// the power goes, in any choice, except what a sync demanded before: the bytes of a file are sure
// only after that file was synced, names only after their directory was. Every directory that can
// be left so is built and loaded from.

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/captured_log.h"
#include "support/file_calls.h"
#include "support/temporary_directory.h"
#include "util/file_replacement.h"

namespace model {

namespace {

// The names in a directory, each with the bytes behind it.
using Files = std::map<std::string, std::string>;

// A call that changes the disk, with names instead of paths; of a sync, the bytes that are sure.
struct Change {
    std::string verb;
    std::string name;
    std::string target;
    std::string bytes;
};
using Changes = std::vector<Change>;

constexpr char kDirectory[] = "";

std::string nameOf(const std::string& path, const TemporaryDirectory& directory) {
    return path.size() > directory.path().size() ? path.substr(directory.path().size() + 1)
                                                 : kDirectory;
}

void furnish(const TemporaryDirectory& directory, const Files& files) {
    for (const auto& [name, bytes] : files) {
        directory.write(name, bytes);
    }
}

// What a container finds in such a directory.
std::string found(const Files& files) {
    const CapturedLog ignored;
    const TemporaryDirectory directory;
    furnish(directory, files);
    SampleContainer container(directory.path("file"));
    return container.load() == 0 ? container.text : "nothing";
}

// What an action in such a directory asks of the disk.
Changes changesOf(const Files& start,
                  const std::function<void(const TemporaryDirectory&)>& action) {
    const CapturedLog ignored;
    const TemporaryDirectory directory;
    furnish(directory, start);
    Changes changes;
    const auto record = [&](const FileCall& call) {
        const std::string name = nameOf(call.path, directory);
        const bool fileSync = call.verb == "sync" && name != kDirectory;
        changes.push_back({call.verb, name, nameOf(call.target, directory),
                           fileSync ? directory.read(name) : std::string()});
    };
    const FileCallWatch watch({}, record);
    action(directory);
    return changes;
}

Changes changesOfSave(const Files& start, const std::string& text, bool keepOld) {
    return changesOf(start, [&](const TemporaryDirectory& directory) {
        SampleContainer container(directory.path("file"));
        container.saveText(text, keepOld);
    });
}

// A directory whose names and bytes reach the disk by and by.
class Disk {
  public:
    explicit Disk(const Files& start) {
        for (const auto& [name, bytes] : start) {
            sure_[name] = contents_.size();
            contents_.push_back(bytes);
        }
        present_ = sure_;
    }

    void take(const Change& change) {
        if (change.verb == "create") {
            create(change.name);
        } else if (change.verb == "sync" && change.name == kDirectory) {
            sure_ = present_;
            pending_.clear();
        } else if (change.verb == "sync") {
            contents_[present_.at(change.name)] = change.bytes;
        } else if (change.verb == "rename") {
            const size_t file = present_.at(change.name);
            changeNames([=](Names& names) {
                names.erase(change.name);
                names[change.target] = file;
            });
        } else if (change.verb == "unlink") {
            changeNames([=](Names& names) { names.erase(change.name); });
        }
    }

    // What may be left when the power goes now.
    std::set<Files> leftovers() const {
        std::set<Files> all;
        for (size_t choice = 0; choice < size_t{1} << pending_.size(); ++choice) {
            Names names = sure_;
            for (size_t i = 0; i < pending_.size(); ++i) {
                if ((choice >> i & 1U) != 0) {
                    pending_[i](names);
                }
            }
            all.insert(filesOf(names));
        }
        return all;
    }

  private:
    using Names = std::map<std::string, size_t>;
    using NameChange = std::function<void(Names&)>;

    // The bytes of a file that was written but never synced are lost.
    void create(const std::string& name) {
        if (present_.count(name) != 0) {
            contents_[present_.at(name)] = "";
            return;
        }
        const size_t file = contents_.size();
        contents_.emplace_back();
        changeNames([=](Names& names) { names[name] = file; });
    }

    void changeNames(const NameChange& change) {
        change(present_);
        pending_.push_back(change);
    }

    Files filesOf(const Names& names) const {
        Files files;
        for (const auto& [name, file] : names) {
            files[name] = contents_[file];
        }
        return files;
    }

    std::vector<std::string> contents_;
    Names sure_;
    Names present_;
    std::vector<NameChange> pending_;
};

// All that may be left of a save by a power cut at any moment of it, or after it.
std::set<Files> leftoversOfSave(const Files& start, const Changes& changes) {
    Disk disk(start);
    std::set<Files> all = disk.leftovers();
    for (const Change& change : changes) {
        disk.take(change);
        all.merge(disk.leftovers());
    }
    return all;
}

std::set<Files> leftoversAfterSave(const Files& start, const Changes& changes) {
    Disk disk(start);
    for (const Change& change : changes) {
        disk.take(change);
    }
    return disk.leftovers();
}

std::set<std::string> foundIn(const std::set<Files>& leftovers) {
    std::set<std::string> texts;
    for (const Files& files : leftovers) {
        texts.insert(found(files));
    }
    return texts;
}

// Without the syncs of a kind: what a save would be that leaves them out.
Changes withoutSyncs(Changes changes, bool ofTheDirectory) {
    std::erase_if(changes, [&](const Change& change) {
        return change.verb == "sync" && (change.name == kDirectory) == ofTheDirectory;
    });
    return changes;
}

using Texts = std::set<std::string>;

class PowerCut : public testing::TestWithParam<bool> {
  protected:
    const bool keepOld_ = GetParam();
    const Files saved_{{"file.json", sampleFile("old")}};
};

INSTANTIATE_TEST_SUITE_P(Saves, PowerCut, testing::Bool(), [](const auto& test) {
    return test.param ? "KeepingTheOldFile" : "KeepingNothing";
});

TEST_P(PowerCut, LeavesTheOldOrTheNewState) {
    const Changes changes = changesOfSave(saved_, "new", keepOld_);
    EXPECT_EQ(foundIn(leftoversOfSave(saved_, changes)), (Texts{"old", "new"}));
}

TEST_P(PowerCut, AfterTheSaveLeavesTheNewState) {
    const Changes changes = changesOfSave(saved_, "new", keepOld_);
    EXPECT_EQ(foundIn(leftoversAfterSave(saved_, changes)), (Texts{"new"}));
}

TEST_P(PowerCut, DuringTheFirstSaveLeavesNothingOrTheNewState) {
    const Changes changes = changesOfSave({}, "new", keepOld_);
    EXPECT_EQ(foundIn(leftoversOfSave({}, changes)), (Texts{"nothing", "new"}));
    EXPECT_EQ(foundIn(leftoversAfterSave({}, changes)), (Texts{"new"}));
}

// The save after a power cut starts from whatever that left, and may be cut off as well.
TEST_P(PowerCut, DuringTheSaveAfterAPowerCutLeavesWhatWasFoundOrTheNewState) {
    const Changes first = changesOfSave(saved_, "new", keepOld_);
    for (const Files& start : leftoversOfSave(saved_, first)) {
        const Changes second = changesOfSave(start, "newer", keepOld_);
        EXPECT_EQ(foundIn(leftoversOfSave(start, second)), (Texts{found(start), "newer"}));
        EXPECT_EQ(foundIn(leftoversAfterSave(start, second)), (Texts{"newer"}));
    }
}

TEST_P(PowerCut, DuringOneOfManySavesLeavesTheLastOrTheOneBefore) {
    Changes changes;
    Files start = saved_;
    std::string before = "old";
    for (const std::string text : {"first", "second", "third"}) {
        const Changes more = changesOfSave(start, text, keepOld_);
        Disk disk(saved_);
        for (const Change& change : changes) {
            disk.take(change);
        }
        for (const Change& change : more) {
            disk.take(change);
            for (const std::string& left : foundIn(disk.leftovers())) {
                EXPECT_TRUE(left == before || left == text) << left << " during " << text;
            }
        }
        changes.insert(changes.end(), more.begin(), more.end());
        start = {{"file.json", sampleFile(text)}};
        if (keepOld_) {
            start["file.json.old"] = sampleFile(before);
        }
        before = text;
    }
}

// That these tests can see a loss at all.
TEST_P(PowerCut, WouldLoseBothStatesIfTheNewFileWereNotSynced) {
    const Changes changes = withoutSyncs(changesOfSave(saved_, "new", keepOld_), false);
    EXPECT_TRUE(foundIn(leftoversOfSave(saved_, changes)).count("nothing"));
}

TEST(PowerCutReplay, WouldLoseBothStatesIfTheDirectoryWereNotSynced) {
    const Files saved{{"file.json", sampleFile("old")}};
    const Changes changes = withoutSyncs(changesOfSave(saved, "new", false), true);
    EXPECT_TRUE(foundIn(leftoversOfSave(saved, changes)).count("nothing"));
}

// A start that finds a file of no use and saves: what it found stays on the disk under some name.
TEST(PowerCutReplay, NeverCostsAFileThatWasOfNoUse) {
    const Files torn{{"file.json", "torn"}};
    const Changes changes = changesOf(torn, [](const TemporaryDirectory& directory) {
        SampleContainer container(directory.path("file"));
        container.load();
        container.saveText("new", false);
    });
    for (const Files& files : leftoversOfSave(torn, changes)) {
        const bool kept = std::any_of(files.begin(), files.end(),
                                      [](const auto& file) { return file.second == "torn"; });
        EXPECT_TRUE(kept);
    }
    EXPECT_EQ(foundIn(leftoversAfterSave(torn, changes)), (Texts{"new"}));
}

// A file without a rotation, such as network.conf.
class PowerCutOfAReplacedFile : public testing::Test {
  protected:
    static Changes changesOfReplacement(const Files& start, const std::string& text) {
        return changesOf(start, [&](const TemporaryDirectory& directory) {
            util::replaceFile(directory.path("network.conf"), text);
        });
    }

    static Texts textsIn(const std::set<Files>& leftovers) {
        Texts texts;
        for (const Files& files : leftovers) {
            const auto found = files.find("network.conf");
            texts.insert(found == files.end() ? "nothing" : found->second);
        }
        return texts;
    }

    const Files old_{{"network.conf", "old"}};
};

TEST_F(PowerCutOfAReplacedFile, LeavesTheOldOrTheNewText) {
    for (const Files& start :
         {old_, Files{{"network.conf", "old"}, {"network.conf.new", "torn"}}}) {
        const Changes changes = changesOfReplacement(start, "new");
        EXPECT_EQ(textsIn(leftoversOfSave(start, changes)), (Texts{"old", "new"}));
        EXPECT_EQ(textsIn(leftoversAfterSave(start, changes)), (Texts{"new"}));
    }
}

TEST_F(PowerCutOfAReplacedFile, DuringTheReplacementAfterAPowerCutLeavesWhatWasThereOrTheNewText) {
    const Changes first = changesOfReplacement(old_, "new");
    for (const Files& start : leftoversOfSave(old_, first)) {
        const Changes second = changesOfReplacement(start, "newer");
        EXPECT_EQ(textsIn(leftoversOfSave(start, second)),
                  (Texts{start.at("network.conf"), "newer"}));
    }
}

TEST_F(PowerCutOfAReplacedFile, WouldLoseTheTextIfTheNewFileWereNotSynced) {
    const Changes changes = withoutSyncs(changesOfReplacement(old_, "new"), false);
    EXPECT_TRUE(textsIn(leftoversOfSave(old_, changes)).count(""));
}

}  // namespace

}  // namespace model
