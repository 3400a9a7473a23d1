#include "frame/status.h"

#include "frame/devices.h"
#include "frame/paths.h"
#include "frame/programs.h"
#include "temporary_tree.h"

using namespace frame;

namespace {

class Status : public TemporaryTree {};

TEST_F(Status, AFreshFrameIsWell) {
    furnishAs("Quorane");
    EXPECT_EQ(describe(tree),
              "product    Quorane\n"
              "eth0       up, active\n"
              "eth1       up\n"
              "psu 1      12.00 V\n"
              "psu 2      12.00 V\n"
              "battery    3.10 V\n");
}

TEST_F(Status, ShowsEverythingThatHappened) {
    furnishAs("Tessara");
    setCable(tree, "eth0", false);
    setSupply(tree, 2, 11.9);
    runProgram(tree, {"/sbin/devmem", "0x8aa00014", "32", "0x01"});
    runProgram(tree, {"/etc/init.d/S56tcpsvd", "stop"});
    runProgram(tree, {"/etc/init.d/S50dropbear", "restart"});
    tree.hide(paths::kEeprom);
    EXPECT_EQ(describe(tree),
              "product    Tessara\n"
              "eth0       down\n"
              "eth1       up, active\n"
              "psu 1      12.00 V\n"
              "psu 2      11.90 V\n"
              "battery    3.10 V, load on\n"
              "service    ftp stopped\n"
              "service    ssh running\n"
              "missing    /tmp/eeprom\n"
              "told       /sbin/devmem 0x8aa00014 32 0x01\n"
              "told       /etc/init.d/S56tcpsvd stop\n"
              "told       /etc/init.d/S50dropbear restart\n");
}

TEST_F(Status, AnotherDirectoryIsNoFrame) {
    EXPECT_THROW(describe(tree), BadRequest);
}

}  // namespace
