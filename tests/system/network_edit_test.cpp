// network.conf as others edit it: what the poll makes of it, and what a set makes of it then.

#include <sys/mount.h>

#include "harness/file_version.h"
#include "on_product.h"
#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"

using namespace harness;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kFile{pallframe::simulation::paths::kNetwork};

const LogLine kMissing = critical(
    "WARNING: void SystemState::get_net_settings(unsigned int*, unsigned int*, unsigned int*): "
    "vantor/etc/network.conf missing or unable to be opened\n");

struct Settings {
    std::string ip;
    std::string netmask;
    std::string gateway;
    bool operator==(const Settings&) const = default;
};

// With a line that the daemon would not write.
std::string settings(const std::string& ip, const std::string& netmask,
                     const std::string& gateway) {
    return "# by hand\nIPADDR=" + ip + "\nNETMASK=" + netmask + "\nGATEWAY=" + gateway + "\n";
}

// What is logged of a change that the poll found, with the settings that the parameters show by
// then. They are those of the file with the last change only, which a further line says.
std::vector<LogLine> checked(const std::string& key, const std::string& value,
                             const Settings& shown, const Settings& inFile) {
    std::vector<LogLine> lines = joined(
        logOfChange(key, value), {info("SystemState:config_ip: checking ifconfig ip=" + shown.ip +
                                       " sub=" + shown.netmask + " gw=" + shown.gateway + "...\n"),
                                  info("ip address " + inFile.ip + "\n"),
                                  info("gateway_ip_address " + inFile.gateway + "\n"),
                                  info("subnet_mask " + inFile.netmask + "\n")});
    if (shown == inFile) {
        lines.push_back(info("no changes\n"));
    }
    return lines;
}

std::string change(const std::string& key, unsigned value) {
    return announced("{\"" + key + "\":" + std::to_string(value) + "}");
}

class NetworkEdit : public OnProduct {
  protected:
    NetworkEdit() : OnProduct("KELI") { silencePoll(); }

    // Gives the state of the file that is to stay.
    FileVersion edit(const std::string& text) const {
        frame.write(kFile, text);
        return versionOf(kFile);
    }

    // For the poll, a setting that it has not found yet is 0: losing it is no change to it then.
    void startAndPoll() {
        startAndSettle();
        edit(settings("10.0.0.6", "255.255.255.0", "10.0.0.1"));
        EXPECT_THAT(nextOnBus(1), ElementsAre(change("ipAddress", 0x0A000006)));
        mark();
    }

    std::vector<std::string> nextOnBus(size_t count) {
        std::vector<std::string> all;
        while (all.size() < count) {
            all.push_back(withoutId(bus.waitFor("NOT", "system")));
        }
        return all;
    }
};

TEST_F(NetworkEdit, IsAnnouncedAndCheckedAndNeitherAppliedNorRewritten) {
    startAndSettle();
    const FileVersion first = edit(settings("10.0.0.7", "255.255.255.0", "10.0.0.1"));
    EXPECT_THAT(nextOnBus(1), ElementsAre(change("ipAddress", 0x0A000007)));
    const Settings one{"10.0.0.7", "255.255.255.0", "10.0.0.1"};
    EXPECT_THAT(newLog(), ElementsAreArray(checked("ipAddress", "167772167", one, one)));
    EXPECT_EQ(versionOf(kFile), first);
    mark();
    const FileVersion second = edit(settings("10.0.1.8", "255.255.0.0", "10.0.1.1"));
    EXPECT_THAT(nextOnBus(3),
                ElementsAre(change("ipAddress", 0x0A000108), change("netmask", 0xFFFF0000),
                            change("gateway", 0x0A000101)));
    const Settings three{"10.0.1.8", "255.255.0.0", "10.0.1.1"};
    EXPECT_THAT(
        newLog(),
        ElementsAreArray(joined(
            joined(
                checked("ipAddress", "167772424", {"10.0.1.8", "255.255.255.0", "10.0.0.1"}, three),
                checked("netmask", "4294901760", {"10.0.1.8", "255.255.0.0", "10.0.0.1"}, three)),
            checked("gateway", "167772417", three, three))));
    const FileVersion third = edit(settings("10.0.1.8", "255.255.0.0", "10.0.1.2"));
    EXPECT_THAT(nextOnBus(1), ElementsAre(change("gateway", 0x0A000102)));
    EXPECT_NE(second, third);
    EXPECT_EQ(versionOf(kFile), third);
    EXPECT_THAT(frame.commands(), testing::Each(testing::Not(testing::HasSubstr("S40network"))));
    EXPECT_EQ(daemon->output().text().find("IP Error"), std::string::npos);
}

// However the polls fall among them, what is announced stood in the file, and the last comes last.
TEST_F(NetworkEdit, ManyInARowAreNeverMixedUp) {
    startAndSettle();
    std::vector<std::string> written;
    FileVersion last;
    for (int i = 10; i < 110; ++i) {
        const std::string number = std::to_string(i);
        last = edit(settings("10.0.0." + number, "255.255.255.0", "10.0.0.1"));
        written.push_back(std::to_string(0x0A000000 + i));
    }
    std::string value;
    while (value != written.back()) {
        value = waitForAnnouncement("ipAddress");
        EXPECT_THAT(written, Contains(value));
    }
    EXPECT_EQ(versionOf(kFile), last);
    EXPECT_THAT(newCommands(), IsEmpty());
}

TEST_F(NetworkEdit, IsWhatTheNextSetBuildsOn) {
    startAndSettle();
    edit(settings("10.0.0.7", "255.255.0.0", "10.0.0.1"));
    EXPECT_THAT(nextOnBus(2),
                ElementsAre(change("ipAddress", 0x0A000007), change("netmask", 0xFFFF0000)));
    set(R"({"gateway":167772162})");
    EXPECT_THAT(sentUntilNow(), ElementsAre(change("gateway", 0x0A000002), answered(200, "OK")));
    EXPECT_EQ(frame.read(kFile),
              "USE_DHCP=0\nIPADDR=10.0.0.7\nNETMASK=255.255.0.0\nGATEWAY=10.0.0.2\n");
    EXPECT_THAT(newCommands(), ElementsAre("/etc/init.d/S40network restart"));
}

// What the file does not say reads as no address, and with that nothing is applied.
TEST_F(NetworkEdit, ThatLeavesSettingsOutKeepsSetsFromBeingApplied) {
    startAndPoll();
    const FileVersion left = edit("IPADDR=10.0.0.6\nNETMASK=255.255.255.0 # and no gateway\n");
    EXPECT_THAT(nextOnBus(1), ElementsAre(change("gateway", 0)));
    daemon->output().waitFor("IP Error: ip=a000006, netmask=ffffff00, gateway=0\n");
    EXPECT_THAT(newLog(), ElementsAreArray(logOfChange("gateway", "0")));
    set(R"({"ipAddress":167772167})");
    EXPECT_THAT(sentUntilNow(), ElementsAre(change("ipAddress", 0x0A000007), answered(200, "OK")));
    daemon->output().waitFor("IP Error: ip=a000007, netmask=ffffff00, gateway=0\n");
    set(R"({"gateway":167772161})");
    sentUntilNow();
    EXPECT_THAT(newLog(), Contains(warning("SystemState: IP Address Check failed. Not Writing to "
                                           "network.conf.\n")));
    EXPECT_EQ(versionOf(kFile), left);
    EXPECT_THAT(newCommands(), IsEmpty());
}

TEST_F(NetworkEdit, ThatTakesTheFileAwayIsAnnouncedAsNoAddresses) {
    startAndPoll();
    hide(kFile);
    EXPECT_THAT(nextOnBus(3),
                ElementsAre(change("ipAddress", 0), change("netmask", 0), change("gateway", 0)));
    EXPECT_EQ(log.waitFor("network.conf"), kMissing);
    EXPECT_EQ(log.waitFor("network.conf"), kMissing) << "each second";
    show(kFile);
    EXPECT_THAT(nextOnBus(3),
                ElementsAre(change("ipAddress", 0x0A000006), change("netmask", 0xFFFFFF00),
                            change("gateway", 0x0A000001)));
    EXPECT_THAT(newCommands(), IsEmpty());
}

// Reads a file that is missing from the start; the set of all three gets as far as the check.
class WithoutNetworkFile : public OnProduct, public testing::WithParamInterface<const char*> {
  protected:
    WithoutNetworkFile() : OnProduct(GetParam()) {
        silencePoll();
        hide(kFile);
    }
};

INSTANTIATE_TEST_SUITE_P(On, WithoutNetworkFile, testing::ValuesIn(kProducts),
                         [](const auto& one) { return identifierOf(one.param); });

TEST_P(WithoutNetworkFile, NewSettingsAreNotApplied) {
    startAndSettle();
    EXPECT_EQ(valueOf("ipAddress"), "0");
    set(R"({"ipAddress":167772166,"netmask":4294967040,"gateway":167772161})");
    EXPECT_THAT(sentUntilNow(), ElementsAre(change("ipAddress", 0x0A000006), answered(200, "OK"),
                                            change("netmask", 0xFFFFFF00), answered(200, "OK"),
                                            change("gateway", 0x0A000001), answered(200, "OK")));
    stop();
    daemon->output().waitForEnd();
    EXPECT_EQ(newOutput(),
              "<time>\tIP Error: ip=a000006, netmask=0, gateway=0\n"
              "<time>\tIP Error: ip=a000006, netmask=ffffff00, gateway=0\n"
              "Pallwatch caught signal:15 (ec: Success) - Stopping.\n");
    for (const LogLine& line :
         {info("SystemState:config_ip: checking ifconfig ip=10.0.0.6 sub=255.255.255.0 "
               "gw=10.0.0.1...\n"),
          kMissing, warning("SystemState: IP Address Check failed. Not Writing to network.conf.\n"),
          info("System param Set: system.gateway = 167772161\n")}) {
        EXPECT_EQ(log.waitFor(line.text), line);
    }
    EXPECT_FALSE(frame.exists(kFile));
    EXPECT_THAT(newCommands(), IsEmpty());
}

class ReadOnlyNetworkFile : public NetworkEdit {
  protected:
    ReadOnlyNetworkFile() {
        pallframe::simulation::check(
            ::mount(kFile.c_str(), kFile.c_str(), nullptr, MS_BIND, nullptr), "bind");
        pallframe::simulation::check(
            ::mount(nullptr, kFile.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr),
            "remount");
    }
    ~ReadOnlyNetworkFile() override { ::umount(kFile.c_str()); }
};

// Nothing is restarted on settings that are not in the file; what was set is shown.
TEST_F(ReadOnlyNetworkFile, IsToldOf) {
    const std::string before = frame.read(kFile);
    startAndSettle();
    set(R"({"ipAddress":167772166})");
    EXPECT_THAT(sentUntilNow(), ElementsAre(change("ipAddress", 0x0A000006), answered(200, "OK")));
    EXPECT_THAT(newLog(), Contains(error("Error opening /vantor/etc/network.conf for writing \n")));
    EXPECT_EQ(frame.read(kFile), before);
    EXPECT_EQ(valueOf("ipAddress"), "167772166");
    EXPECT_THAT(newCommands(), IsEmpty());
    stop();
    EXPECT_THAT(daemon->output().waitForEnd(),
                testing::HasSubstr("Error opening /vantor/etc/network.conf for writingPallwatch"));
}

}  // namespace
