// The frame's address settings: their file, and sets of the three parameters.

#include <filesystem>

#include <gmock/gmock.h>

#include "support/file_calls.h"
#include "support/file_size_limit.h"
#include "system_state_fixture.h"

namespace systemstate {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr const char* kStamp = "[0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9]\t";

class NetworkTest : public SystemStateTest {
  protected:
    struct Settings {
        uint32_t ip = 1;
        uint32_t netmask = 2;
        uint32_t gateway = 3;
        bool operator==(const Settings&) const = default;
    };

    Settings read() {
        Settings settings;
        state->get_net_settings(&settings.ip, &settings.netmask, &settings.gateway);
        return settings;
    }

    std::string file() const { return root.read(kNetworkFile); }

    // Does something to the file between the look at it and its writing.
    void beforeWriting(std::function<void()> action) {
        previousSink = util::replaceLogSink([this, action](int priority, const std::string& text) {
            if (text == "SystemState:writing network config\n") {
                action();
            }
            lines.push_back({priority, text});
        });
    }

    void TearDown() override {
        if (previousSink) {
            util::replaceLogSink(previousSink);
        }
    }

    std::vector<Line> lines;
    util::LogSink previousSink;
};

TEST_F(NetworkTest, FileIsPublished) {
    boot();
    EXPECT_EQ(valueOf("system.ipAddress"), std::to_string(0x0A000005));
    EXPECT_EQ(valueOf("system.netmask"), std::to_string(0xFFFFFF00));
    EXPECT_EQ(valueOf("system.gateway"), std::to_string(0x0A000001));
}

TEST_F(NetworkTest, SettingsAreRead) {
    run();
    EXPECT_EQ(read(), (Settings{0x0A000005, 0xFFFFFF00, 0x0A000001}));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(NetworkTest, MissingFileIsCriticalAndLeavesTheSettings) {
    run();
    root.remove(kNetworkFile);
    EXPECT_EQ(read(), (Settings{1, 2, 3}));
    EXPECT_THAT(log.take(),
                ElementsAre(Line{LOG_CRIT,
                                 "WARNING: void SystemState::get_net_settings(unsigned int*, "
                                 "unsigned int*, unsigned int*): vantor/etc/network.conf missing "
                                 "or unable to be opened\n"}));
}

TEST_F(NetworkTest, MissingKeyLeavesItsSetting) {
    run();
    root.write(kNetworkFile, "NETMASK=255.0.0.0\n");
    EXPECT_EQ(read(), (Settings{1, 0xFF000000, 3}));
    EXPECT_THAT(log.take(), IsEmpty());
}

TEST_F(NetworkTest, UnreadableValueIsZeroButNotMissing) {
    run();
    root.write(kNetworkFile, "IPADDR=\"10.0.0.5\"\n");
    EXPECT_EQ(read(), (Settings{0, 2, 3}));
}

TEST_F(NetworkTest, NewAddressRestartsEverythingThatLivesOnIt) {
    run();
    EXPECT_EQ(printedBySet("system.ipAddress", "167772166"), "");
    EXPECT_THAT(machine->take(),
                ElementsAre("/etc/init.d/S40network restart", "/etc/init.d/S53slpreg",
                            "/etc/init.d/S54openslp restart", "/etc/init.d/S80tarnaview restart"));
    EXPECT_EQ(file(), "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
}

TEST_F(NetworkTest, EveryStepIsLogged) {
    run();
    set("system.ipAddress", "167772166");
    EXPECT_THAT(
        linesAboveDebug(),
        ElementsAre(Line{LOG_INFO,
                         "SystemState:config_ip: checking ifconfig ip=10.0.0.6 sub=255.255.255.0 "
                         "gw=10.0.0.1...\n"},
                    Line{LOG_INFO, "ip address 10.0.0.5\n"},
                    Line{LOG_INFO, "gateway_ip_address 10.0.0.1\n"},
                    Line{LOG_INFO, "subnet_mask 255.255.255.0\n"},
                    Line{LOG_INFO, "changed. restarting S40network and S81ambrix\n"},
                    Line{LOG_INFO, "SystemState:writing network config\n"},
                    Line{LOG_INFO, "ok\n"}));
}

TEST_F(NetworkTest, FileIsWrittenBeforeTheNetworkIsRestarted) {
    run();
    std::vector<std::string> seen;
    machine->setOnCommand([&](const std::string&) { seen.push_back(file()); });
    set("system.gateway", "167772162");
    EXPECT_THAT(seen, ElementsAre("USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.255.0\n"
                                  "GATEWAY=10.0.0.2\n"));
}

TEST_F(NetworkTest, GatewayAloneRestartsTheNetworkOnly) {
    run();
    set("system.gateway", "167772162");
    EXPECT_THAT(machine->take(), ElementsAre("/etc/init.d/S40network restart"));
}

TEST_F(NetworkTest, NetmaskAloneRestartsTheNetworkOnly) {
    run();
    set("system.netmask", "4294901760");
    EXPECT_THAT(machine->take(), ElementsAre("/etc/init.d/S40network restart"));
    EXPECT_EQ(file(), "USE_DHCP=0\nIPADDR=10.0.0.5\nNETMASK=255.255.0.0\nGATEWAY=10.0.0.1\n");
}

TEST_F(NetworkTest, SameSettingsAgainChangeNothing) {
    root.write(kNetworkFile, std::string("# by hand\n") + kNetworkConf);
    run();
    EXPECT_EQ(printedBySet("system.ipAddress", "167772165"), "");
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(file(), std::string("# by hand\n") + kNetworkConf);
    EXPECT_EQ(linesAboveDebug().back(), (Line{LOG_INFO, "no changes\n"}));
    EXPECT_THAT(announced, ElementsAre("system.ipAddress=167772165"));
}

TEST_F(NetworkTest, ResultTellsWhetherSomethingWasRestarted) {
    run();
    EXPECT_EQ(state->config_ip(0x0A000005, 0xFFFFFF00, 0x0A000001), 1);
    EXPECT_EQ(state->config_ip(0x0A000006, 0xFFFFFF00, 0x0A000001), 0);
    root.remove(kNetworkFile);
    EXPECT_EQ(state->config_ip(0x0A000006, 0xFFFFFF00, 0x0A000001), 1);
}

TEST_F(NetworkTest, WithoutFileASetLogsTheCheckFailureAndChangesNothing) {
    run();
    root.remove(kNetworkFile);
    set("system.ipAddress", "167772166");
    EXPECT_THAT(
        linesAboveDebug(),
        ElementsAre(testing::Field(&Line::priority, LOG_INFO),
                    testing::Field(&Line::priority, LOG_CRIT),
                    Line{LOG_WARNING,
                         "SystemState: IP Address Check failed. Not Writing to network.conf.\n"}));
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_FALSE(root.holds(kNetworkFile));
}

class BrokenFile : public NetworkTest, public testing::WithParamInterface<const char*> {};

TEST_P(BrokenFile, IsNeverReplacedFromTheBus) {
    run();
    root.write(kNetworkFile, GetParam());
    set("system.ipAddress", "167772166");
    EXPECT_EQ(file(), GetParam());
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(linesAboveDebug().back().priority, LOG_WARNING);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, BrokenFile,
    testing::Values("", "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\n",
                    "IPADDR=\"10.0.0.5\"\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n",
                    "IPADDR=10.0.0.5\nNETMASK=255.255.255.255\nGATEWAY=10.0.0.1\n",
                    "IPADDR=10.0.0.5\nNETMASK=255.255.255.0\nGATEWAY=0.0.0.0\n"));

struct InvalidCase {
    const char* name;
    const char* key;
    const char* json;
    const char* printed;
};

class InvalidAddress : public NetworkTest, public testing::WithParamInterface<InvalidCase> {};

TEST_P(InvalidAddress, IsPrintedAndNotApplied) {
    run();
    EXPECT_THAT(printedBySet(GetParam().key, GetParam().json),
                MatchesRegex(kStamp + std::string(GetParam().printed) + "\n"));
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_THAT(linesAboveDebug(), IsEmpty());
    EXPECT_EQ(file(), kNetworkConf);
}

TEST_P(InvalidAddress, IsAnnouncedAndKept) {
    run();
    printedBySet(GetParam().key, GetParam().json);
    EXPECT_EQ(valueOf(GetParam().key), GetParam().json);
    EXPECT_THAT(announced, ElementsAre(std::string(GetParam().key) + "=" + GetParam().json));
}

std::string invalidName(const testing::TestParamInfo<InvalidCase>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(
    Table, InvalidAddress,
    testing::Values(InvalidCase{"AddressZero", "system.ipAddress", "0",
                                "IP Error: ip=0, netmask=ffffff00, gateway=a000001"},
                    InvalidCase{"AddressAllOnes", "system.ipAddress", "4294967295",
                                "IP Error: ip=ffffffff, netmask=ffffff00, gateway=a000001"},
                    InvalidCase{"NetmaskZero", "system.netmask", "0",
                                "IP Error: ip=a000005, netmask=0, gateway=a000001"},
                    InvalidCase{"NetmaskAllOnes", "system.netmask", "4294967295",
                                "IP Error: ip=a000005, netmask=ffffffff, gateway=a000001"},
                    InvalidCase{"GatewayZero", "system.gateway", "0",
                                "IP Error: ip=a000005, netmask=ffffff00, gateway=0"},
                    InvalidCase{"GatewayAllOnes", "system.gateway", "4294967295",
                                "IP Error: ip=a000005, netmask=ffffff00, gateway=ffffffff"},
                    InvalidCase{"MinusOneIsAllOnes", "system.ipAddress", "-1",
                                "IP Error: ip=ffffffff, netmask=ffffff00, gateway=a000001"},
                    InvalidCase{"LowBitsZero", "system.ipAddress", "4294967296",
                                "IP Error: ip=0, netmask=ffffff00, gateway=a000001"},
                    InvalidCase{"LowBitsAllOnes", "system.ipAddress", "8589934591",
                                "IP Error: ip=ffffffff, netmask=ffffff00, gateway=a000001"}),
    invalidName);

TEST_F(NetworkTest, OnlyTheLow32BitsCount) {
    run();
    set("system.ipAddress", "4462739462");  // 0x10A000006
    EXPECT_EQ(file(), "USE_DHCP=0\nIPADDR=10.0.0.6\nNETMASK=255.255.255.0\nGATEWAY=10.0.0.1\n");
}

TEST_F(NetworkTest, AnInvalidSettingHeldBeforeStopsTheNextSetToo) {
    run();
    printedBySet("system.gateway", "0");
    EXPECT_THAT(printedBySet("system.ipAddress", "167772166"),
                MatchesRegex(kStamp + std::string("IP Error: ip=a000006, netmask=ffffff00, "
                                                  "gateway=0\n")));
    EXPECT_EQ(file(), kNetworkConf);
}

TEST_F(NetworkTest, CommandThatCannotBeStartedIsPrinted) {
    run();
    machine->setResult("/etc/init.d/S40network restart", -1, EAGAIN);
    machine->setResult("/etc/init.d/S54openslp restart", -1, EAGAIN);
    EXPECT_EQ(printedBySet("system.ipAddress", "167772166"),
              "system returned -1\nsystem returned -1\n");
    EXPECT_EQ(machine->take().size(), 4U);
}

TEST_F(NetworkTest, CommandThatFailsIsNot) {
    run();
    machine->setResult("/etc/init.d/S40network restart", 256);
    EXPECT_EQ(printedBySet("system.ipAddress", "167772166"), "");
}

TEST_F(NetworkTest, AmbrixIsNotRestarted) {
    root.write("/vantor/etc/ambrixDisabled", "");
    run();
    set("system.ipAddress", "167772166");
    for (const std::string& command : machine->take()) {
        EXPECT_THAT(command, testing::Not(testing::HasSubstr("ambrix")));
    }
}

TEST_F(NetworkTest, FileThatCannotBeOpenedForWritingIsReportedAndNothingRestarted) {
    run();
    beforeWriting([this] {
        root.remove(kNetworkFile);
        std::filesystem::create_directory(root.path() + kNetworkFile);
    });
    EXPECT_EQ(printedBySet("system.gateway", "167772162"),
              "Error opening /vantor/etc/network.conf for writing");
    EXPECT_EQ(lines.back(),
              (Line{LOG_ERR, "Error opening /vantor/etc/network.conf for writing \n"}));
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(valueOf("system.gateway"), "167772162");
}

struct FailedStep {
    const char* name;
    const char* verb;
    int errorNumber;
    const char* line;
};

class FailedWrite : public NetworkTest, public testing::WithParamInterface<FailedStep> {};

INSTANTIATE_TEST_SUITE_P(
    Steps, FailedWrite,
    testing::Values(
        FailedStep{"Write", "write", ENOSPC, "Error writing %: No space left on device"},
        FailedStep{"Sync", "sync", EIO, "Error syncing %: Input/output error"},
        FailedStep{"Close", "close", EDQUOT, "Error closing %: Disk quota exceeded"},
        FailedStep{"Rename", "rename", EROFS, "Error replacing %: Read-only file system"}),
    [](const auto& test) { return test.param.name; });

TEST_P(FailedWrite, IsReportedAndLeavesTheFileAndTheNetworkAlone) {
    run();
    const std::string draft = root.path() + kNetworkFile + ".new";
    {
        const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
            const bool fails = call.verb == GetParam().verb && call.path == draft;
            return fails ? std::optional<FileAnswer>({-1, GetParam().errorNumber}) : std::nullopt;
        });
        EXPECT_EQ(printedBySet("system.gateway", "167772162"), "");
    }
    std::string line = GetParam().line;
    line.replace(line.find('%'), 1, kNetworkFile);
    EXPECT_EQ(linesAboveDebug().back(), (Line{LOG_ERR, line + "\n"}));
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(file(), kNetworkConf);
    EXPECT_FALSE(root.holds(std::string(kNetworkFile) + ".new"));
}

TEST_F(NetworkTest, DirectoryThatCannotBeSyncedIsReportedAndTheSettingsAreApplied) {
    run();
    const std::string directory = root.path() + "/vantor/etc";
    {
        const FileCallWatch watch([&](const FileCall& call) -> std::optional<FileAnswer> {
            const bool fails = call == FileCall{"sync", directory, ""};
            return fails ? std::optional<FileAnswer>({-1, EIO}) : std::nullopt;
        });
        printedBySet("system.gateway", "167772162");
    }
    EXPECT_EQ(linesAboveDebug().back(),
              (Line{LOG_ERR,
                    "Error syncing the directory of /vantor/etc/network.conf: Input/output "
                    "error\n"}));
    EXPECT_THAT(machine->take(), ElementsAre("/etc/init.d/S40network restart"));
    EXPECT_THAT(file(), testing::HasSubstr("GATEWAY=10.0.0.2\n"));
}

TEST_F(NetworkTest, DiskWithoutRoomKeepsTheOldSettingsInTheFile) {
    const std::string old = "IPADDR=1.1.1.1\nNETMASK=2.2.2.2\nGATEWAY=3.3.3.3\n";
    root.write(kNetworkFile, old);
    run();
    {
        const FileSizeLimit room(old.size());
        set("system.gateway", "167772162");
    }
    EXPECT_EQ(file(), old);
    EXPECT_THAT(machine->take(), IsEmpty());
    EXPECT_EQ(valueOf("system.gateway"), "167772162") << "held values stay";
    state->poll();
    state->poll();
    EXPECT_EQ(valueOf("system.ipAddress"), std::to_string(0x01010101));
}

TEST_F(NetworkTest, NumberWiderThanAnAddressIsCorrectedByTheNextPoll) {
    run();
    state->poll();
    set("system.ipAddress", std::to_string(0x100000000 + 0x0A000006));
    EXPECT_EQ(valueOf("system.ipAddress"), std::to_string(0x100000000 + 0x0A000006));
    state->poll();
    EXPECT_EQ(valueOf("system.ipAddress"), std::to_string(0x0A000006));
    set("system.gateway", "-1062731519");
    state->poll();
    EXPECT_EQ(valueOf("system.gateway"), std::to_string(0xC0A80101));
}

TEST_F(NetworkTest, ParameterThatHoldsNoAddressKeepsTheFile) {
    run();
    printedBySet("system.ipAddress", "0");
    log.take();
    const std::string printed =
        printedBy([this] { state->config_ip(0x0A000005, 0xFFFFFF00, 0x0A000002); });
    EXPECT_THAT(printed,
                MatchesRegex(kStamp + std::string("IP Address Error: system.ipAddress=0\n")));
    EXPECT_EQ(log.take().back(), (Line{LOG_ERR, "Error loading network params.\n"}));
    EXPECT_EQ(file(), kNetworkConf);
}

TEST_F(NetworkTest, EachParameterThatHoldsNoAddressIsPrinted) {
    run();
    printedBySet("system.netmask", "-1");
    printedBySet("system.gateway", "4294967295");
    EXPECT_THAT(printedBy([this] { state->config_ip(0x0A000006, 0xFFFFFF00, 0x0A000001); }),
                MatchesRegex(kStamp + std::string("IP Address Error: system.netmask=ffffffff\n") +
                             kStamp + "IP Address Error: system.gateway=ffffffff\n"));
}

TEST_F(NetworkTest, MissingParameterKeepsTheFileWithoutAWord) {
    construct();
    state->buildIdentityGroup("");
    EXPECT_EQ(printedBy([this] { state->config_ip(0x0A000005, 0xFFFFFF00, 0x0A000002); }), "");
    EXPECT_EQ(log.take().back(), (Line{LOG_ERR, "Error loading network params.\n"}));
    EXPECT_EQ(file(), kNetworkConf);
}

}  // namespace

}  // namespace systemstate
