// What the daemon holds, and what it must not leave with others: descriptors and processes.

#include <fcntl.h>

#include <algorithm>
#include <fstream>
#include <list>
#include <map>

#include "harness/process_table.h"
#include "on_bus.h"
#include "pallframe/simulation/devices.h"

using namespace harness;
using testing::Each;
using testing::Gt;
using testing::SizeIs;

namespace {

constexpr const char* kWatch = "/vantor/bin/ambrix-shutoff.sh";
constexpr const char* kStandIn = "exec sleep 1000";

// On a controller the status poll opens its files meanwhile.
class Resources : public OnBus {
  protected:
    Resources() : OnBus("Quorane") {}

    std::vector<ProcessEntry> processesOf(const std::string& commandLine) const {
        std::vector<ProcessEntry> all = processes();
        std::erase_if(all, [&](const ProcessEntry& one) { return one.commandLine != commandLine; });
        return all;
    }

    // The numbers of the descriptors that commands would be given.
    std::vector<std::string> inherited() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(daemon->proc() / "fdinfo")) {
            std::ifstream information(entry.path());
            for (std::string key, value; information >> key >> value;) {
                if (key == "flags:" && (std::stoi(value, nullptr, 8) & O_CLOEXEC) == 0) {
                    names.push_back(entry.path().filename());
                }
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(Resources, CommandsInTheBackgroundInheritTheStandardStreamsAlone) {
    frame.writeProgram(kWatch, std::string("#!/bin/sh\n") + kStandIn + "\n");
    start();  // which starts one
    constexpr size_t kTimes = 10;
    for (size_t i = 0; i < kTimes; ++i) {
        set(R"({"ambrixEnabled":1})");
        sentUntilNow();
    }
    waitUntil([this] { return processesOf("sleep 1000 ").size() == 1 + kTimes; }, "the watches");
    for (const ProcessEntry& watch : processesOf("sleep 1000 ")) {
        const std::vector<std::string> open = descriptorsOf(watch.proc);
        EXPECT_THAT(open, SizeIs(3));
        EXPECT_THAT(open, Each(testing::AnyOf("/dev/null", testing::StartsWith("pipe:"))));
    }
}

TEST_F(Resources, NothingButTheStandardStreamsWouldBeInherited) {
    start();
    log.waitFor("Battery Sample = OFF");  // each part of the daemon has been at work
    set(R"({"systemName":"Studio"})");
    sentUntilNow();
    EXPECT_THAT(inherited(), testing::ElementsAre("0", "1", "2"));
    EXPECT_THAT(daemon->descriptors(), SizeIs(Gt(4)));
}

TEST_F(Resources, NoCommandLeavesAZombie) {
    start();
    set(R"({"sshEnabled":0,"ftpEnabled":0,"ambrixEnabled":1,"generateReport":1})");
    set(R"({"activeEthernet":1,"restartNetwork":1,"ipAddress":167772166})");
    EXPECT_EQ(valueOf("restartNetwork"), "0");
    log.waitFor("Battery Sample = OFF");
    const std::string parent = daemon->proc().filename();
    const auto children = [&] {
        std::vector<ProcessEntry> all = processes();
        std::erase_if(all, [&](const ProcessEntry& one) { return one.parent != parent; });
        return all;
    };
    waitUntil([&] { return children().empty(); }, "every child to be gone");
}

// A reconnect takes a second, so eight daemons share the hundred.
class Reconnects : public OnBus {};

TEST_F(Reconnects, AHundredCostNoDescriptor) {
    constexpr int kDaemons = 8;
    constexpr int kReconnects = 100;
    std::list<Daemon> daemons(1);
    greeted();
    const size_t connected = daemons.front().descriptors().size();
    for (int i = 1; i < kDaemons; ++i) {
        daemons.emplace_back();
    }
    std::map<std::string, int> shares;
    for (int i = 0; i < kReconnects; ++i) {
        const std::string id = greeted().front().id();
        ++shares[id.substr(id.find('@'))];  // behind which stands the process
    }
    for (Daemon& one : daemons) {
        waitUntil([&] { return one.descriptors().size() == connected; },
                  "as many descriptors as with the first connection");
    }
    EXPECT_THAT(shares, SizeIs(kDaemons));
    EXPECT_THAT(shares, Each(testing::Pair(testing::_, Gt(kReconnects / kDaemons / 2))));
}

TEST_F(Reconnects, RefusedOnesCostNoDescriptor) {
    start();
    const size_t connected = daemon->descriptors().size();
    bus.stopListening();
    bus.close();
    const std::string line = "Connection refused to 127.0.0.1:15000\n";
    daemon->error().waitFor(line + "Pallwatch - connectHandler Error: " + line);
    bus.listen();
    greeted();
    EXPECT_EQ(daemon->descriptors().size(), connected);
}

}  // namespace
