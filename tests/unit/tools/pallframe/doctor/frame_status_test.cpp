#include "pallframe/doctor/frame_status.h"

#include <gmock/gmock.h>

#include "pallframe/simulation/devices.h"
#include "pallframe/simulation/frame_paths.h"
#include "temporary_frame.h"
#include "util/json.h"

using namespace pallframe::simulation;
using namespace pallframe::doctor;
using testing::HasSubstr;

namespace {

class Status : public TemporaryFrame {
  protected:
    std::string table() const { return formatTable(readStatus(tree)); }
    util::UniqueJSON json() const {
        const std::string text = formatJSON(readStatus(tree));
        return util::parseJSON(text.data(), text.size());
    }
};

TEST_F(Status, AFreshFrameIsWell) {
    populateAs("Quorane");
    setPause(tree, "S40network", 0);
    EXPECT_EQ(table(),
              "WHAT     NAME  STATE\n"
              "product        Quorane\n"
              "port     eth0  up, active\n"
              "port     eth1  up\n"
              "supply   1     12.00 V\n"
              "supply   2     12.00 V\n"
              "battery        3.10 V\n");
}

TEST_F(Status, ShowsEverythingThatHappened) {
    populateAs("Tessara");
    setCable(tree, "eth0", false);
    setSupply(tree, 2, 11.9);
    runProgram(tree, {"/sbin/devmem", "0x8aa00014", "32", "0x01"});
    runProgram(tree, {"/etc/init.d/S56tcpsvd", "stop"});
    setExitStatus(tree, "S50dropbear", 1);
    setPause(tree, "S50dropbear", 0.25);
    runProgram(tree, {"/etc/init.d/S50dropbear", "restart"});
    tree.setAside(paths::kEeprom);
    EXPECT_EQ(table(),
              "WHAT     NAME         STATE\n"
              "call     1            /sbin/devmem 0x8aa00014 32 0x01\n"
              "call     2            /etc/init.d/S56tcpsvd stop\n"
              "call     3            /etc/init.d/S50dropbear restart\n"
              "product               Tessara\n"
              "port     eth0         down, failures: 1\n"
              "port     eth1         up, active\n"
              "supply   1            12.00 V\n"
              "supply   2            11.90 V\n"
              "battery               3.10 V, load on\n"
              "service  ftp          stopped\n"
              "program  S40network   takes 0.5 s\n"
              "program  S50dropbear  takes 0.25 s, fails with 1\n"
              "file     /tmp/eeprom  missing\n");
}

TEST_F(Status, KeepsTheLastCallsAndTheirNumbers) {
    populateAs("Quorane");
    for (const char* const argument : {"1", "2", "3"}) {
        runProgram(tree, {"/vantor/bin/briskel", argument});
    }
    FrameStatus status = readStatus(tree);
    keepLastCalls(status, 5);
    EXPECT_EQ(status.calls.size(), 3u);
    keepLastCalls(status, 2);
    EXPECT_THAT(formatTable(status), HasSubstr("STATE\n"
                                               "call     2           /vantor/bin/briskel 2\n"
                                               "call     3           /vantor/bin/briskel 3\n"
                                               "product              Quorane\n"));
    keepLastCalls(status, 0);
    EXPECT_THAT(formatTable(status), HasSubstr("STATE\nproduct"));
}

TEST_F(Status, IsAvailableAsJSON) {
    populateAs("KELI");
    setCable(tree, "eth0", false);
    setSupply(tree, 2, 11.9);
    setPause(tree, "S40network", 0);
    setExitStatus(tree, "pkill", 7);
    runProgram(tree, {"/etc/init.d/S56tcpsvd", "start"});
    tree.setAside(paths::kEeprom);
    EXPECT_EQ(formatJSON(readStatus(tree)),
              R"({"product":"KELI","ports":[)"
              R"({"name":"eth0","up":false,"active":false,"failures":1,)"
              R"("address":"00:11:22:33:44:55"},)"
              R"({"name":"eth1","up":true,"active":true,"failures":0,)"
              R"("address":"00:11:22:33:44:56"}],)"
              R"("power":{"supply1":12,"supply2":11.9,"battery":3.1,"loaded":false},)"
              R"("services":{"ftp":"running"},)"
              R"("programs":[{"name":"pkill","seconds":0,"status":7}],)"
              R"("missing":["/tmp/eeprom"],)"
              R"("calls":["/etc/init.d/S56tcpsvd start"]})"
              "\n");
}

// Whoever calls a program of the frame decides what stands in the list of calls.
TEST_F(Status, NoTextBreaksTheTableOrTheJSON) {
    populateAs("Quorane");
    const std::string nasty = "\"\\\x1b[2J\x7f\t\xff\xc3\xa9 \xc3";
    runProgram(tree, {"/vantor/bin/briskel", nasty});
    tree.replace(std::string(paths::kServices) + "/a\nb", nasty);
    tree.replace("/tmp/" + nasty, "");
    tree.setAside("/tmp/" + nasty);
    EXPECT_EQ(table().find('\x1b'), std::string::npos);
    EXPECT_NE(table().find("\\x1b[2J"), std::string::npos);
    EXPECT_NE(table().find("service  a\\nb"), std::string::npos);
    const util::UniqueJSON parsed = json();
    ASSERT_NE(parsed, nullptr);
    const std::string shown = "\"\\\x1b[2J\x7f\t\xef\xbf\xbd\xc3\xa9 \xef\xbf\xbd";
    EXPECT_EQ(util::jsonText(cJSON_GetArrayItem(util::jsonMember(parsed.get(), "missing"), 0)),
              "/tmp/" + shown);
    EXPECT_EQ(util::jsonText(util::jsonMember(util::jsonMember(parsed.get(), "services"), "a\nb")),
              shown);
}

TEST_F(Status, AnotherDirectoryIsNoFrame) {
    EXPECT_THROW(readStatus(tree), FrameError);
}

}  // namespace
