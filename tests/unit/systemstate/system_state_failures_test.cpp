// The whole device saved and loaded while memory or the disk fails: settings are the old ones or
// the new ones, never defaults and never a part of them.

#include <cerrno>

#include <gmock/gmock.h>

#include "support/exhausted_memory.h"
#include "support/file_calls.h"
#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::HasSubstr;
using testing::Not;

class Failures : public SystemStateTest {
  protected:
    std::string file() const { return root.read(kStateFile); }

    // The device of a card that has been named, and the file with that in it.
    void bootNamed() {
        boot();
        set("system.frameName", "\"named\"");
        set("system.systemName", "\"named too\"");
        state->saveToOwnPath(false);
        before = file();
        log.take();
    }

    std::string before;
};

TEST_F(Failures, EveryAllocationThatASaveLacksLeavesTheFileAlone) {
    bootNamed();
    bool failed = true;
    unsigned long number = 0;
    for (; failed; ++number) {
        boot();  // the first save after it prints every parameter
        set("system.systemName", "\"new\"");
        {
            const OneFailedAllocation failure(number);
            state->saveToOwnPath(false);
            failed = OneFailedAllocation::happened();
        }
        ASSERT_EQ(state->saved(), !failed) << number;
        if (failed) {
            ASSERT_EQ(file(), before) << number;
            EXPECT_FALSE(root.holds(std::string(kStateFile) + ".old"));
            EXPECT_THAT(log.take().back().text, HasSubstr("SAVE FAILED"));
        }
    }
    EXPECT_GT(number, 100U) << "every member of every parameter";
    EXPECT_THAT(file(), HasSubstr("\"new\""));
}

TEST_F(Failures, OfAnyCallOfASaveLeaveEverySetting) {
    for (const int errorNumber : {EIO, EMFILE, ENOENT, ENOSPC}) {
        bool reached = true;
        for (int number = 0; reached; ++number) {
            bootNamed();
            set("system.systemName", "\"new\"");
            int calls = 0;
            {
                const FileCallWatch watch([&](const FileCall&) -> std::optional<FileAnswer> {
                    const bool fails = calls++ == number;
                    return fails ? std::optional<FileAnswer>({-1, errorNumber}) : std::nullopt;
                });
                state->saveToOwnPath(false);
            }
            reached = calls > number;
            boot();
            EXPECT_EQ(valueOf("system.frameName"), "named") << number;
            EXPECT_THAT(valueOf("system.systemName"), testing::AnyOf("named too", "new"));
        }
    }
}

TEST_F(Failures, TornFileIsNotReplacedByDefaultsWhereTheOldOneIsThere) {
    bootNamed();
    root.write(std::string(kStateFile) + ".old", before);
    root.write(kStateFile, before.substr(0, before.size() / 2));
    boot("Tessara", "Labelled");
    EXPECT_EQ(valueOf("system.frameName"), "Labelled");
    EXPECT_EQ(valueOf("system.systemName"), "named too");
    EXPECT_EQ(root.read(std::string(kStateFile) + ".bad"), before.substr(0, before.size() / 2));
    EXPECT_THAT(file(), HasSubstr("\"Labelled\""));
}

TEST_F(Failures, FileThatIsOfNoUseIsKeptBesideTheDefaults) {
    root.write(kStateFile, R"({"version":2,"systemState":7})");
    boot();
    EXPECT_EQ(root.read(std::string(kStateFile) + ".bad"), R"({"version":2,"systemState":7})");
    EXPECT_THAT(file(), HasSubstr("system.frameName"));
}

// What cannot be opened for a moment comes back with the next attempt.
TEST_F(Failures, FileThatCannotBeOpenedForAMomentBringsItsSettings) {
    bootNamed();
    int opens = 0;
    const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
        const bool fails = call == FileCall{"open", root.path() + kStateFile, ""} && ++opens < 3;
        return fails ? std::optional<FileAnswer>({-1, ENFILE}) : std::nullopt;
    });
    boot();
    EXPECT_EQ(opens, 3);
    EXPECT_EQ(valueOf("system.frameName"), "named");
    EXPECT_THAT(file(), Not(HasSubstr("Quorane\"")));
}

// Settings of the network: any call of the write, and then what the file holds and what was run.
TEST_F(Failures, OfAnyCallOfANetworkWriteLeaveTheOldFileOrTheNewOne) {
    const std::string newConf =
        "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.2\n";
    for (const int errorNumber :
         {EACCES, EDQUOT, EIO, EMFILE, ENFILE, ENOENT, ENOMEM, ENOSPC, EROFS}) {
        bool reached = true;
        for (int number = 0; reached; ++number) {
            root.write(kNetworkFile, kNetworkConf);
            run();
            int calls = 0;
            {
                const FileCallWatch watch([&](const FileCall&) -> std::optional<FileAnswer> {
                    const bool fails = calls++ == number;
                    return fails ? std::optional<FileAnswer>({-1, errorNumber}) : std::nullopt;
                });
                printedBySet("system.gateway", "167772162");
            }
            reached = calls > number;
            const bool restarted = !machine->take().empty();
            EXPECT_EQ(root.read(kNetworkFile), restarted ? newConf : kNetworkConf)
                << "call " << number << ", error " << errorNumber;
            EXPECT_FALSE(root.holds(std::string(kNetworkFile) + ".new"));
        }
    }
}

}  // namespace

}  // namespace systemstate
