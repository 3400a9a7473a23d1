// Sets of the service switches.

#include "on_product.h"
#include "reaction.h"

namespace {

using harness::Frame;

constexpr const char* kStopWatch = "pkill -f '/bin/sh /vantor/bin/ambrix-shutoff.sh'";

void failingSystemctl(const Frame& frame) {
    makeFail(frame, "/usr/local/sbin/systemctl");
}

void failingScripts(const Frame& frame) {
    makeFail(frame, "/etc/init.d/S50dropbear");
    makeFail(frame, "/etc/init.d/S56tcpsvd");
}

void missingScripts(const Frame& frame) {
    frame.remove("/etc/init.d/S50dropbear");
    frame.remove("/etc/init.d/S56tcpsvd");
}

void stoppedAmbrix(const Frame& frame) {
    frame.write(kAmbrixMarker, "");
}

std::vector<Reaction> onTheBrio() {
    return {
        {.name = "SSHOn",
         .on = onBrio,
         .key = "sshEnabled",
         .value = "1",
         .log = {info("SSH server started in Brio, rv: 0\n")},
         .commands = {"sudo systemctl start ssh", "systemctl start ssh"},
         .saved = true},
        {.name = "SSHOff",
         .on = onBrio,
         .key = "sshEnabled",
         .value = "0",
         .log = {info("SSH server stopped in Brio, rv: 0\n")},
         .commands = {"sudo systemctl stop ssh", "systemctl stop ssh"},
         .saved = true},
        {.name = "FTPOn",
         .on = onBrio,
         .key = "ftpEnabled",
         .value = "1",
         .log = {info("FTP server started in Brio, rv: 0\n")},
         .commands = {"sudo systemctl start vsftpd", "systemctl start vsftpd"},
         .saved = true},
        {.name = "FTPOff",
         .on = onBrio,
         .key = "ftpEnabled",
         .value = "0",
         .log = {info("FTP server stopped in Brio, rv: 0\n")},
         .commands = {"sudo systemctl stop vsftpd", "systemctl stop vsftpd"},
         .saved = true},
        {.name = "AmbrixOn",
         .on = onBrio,
         .key = "ambrixEnabled",
         .value = "1",
         .log = {debug("disabling ambrix in Quorane Brio...\n"),
                 debug("enabling ambrix in Quorane Brio...\n")},
         .commands = {"pkill ambrixsrvtst", "pkill brio-ambrix-shu"},
         .background = {"/vantor/bin/ambrixsrvlaunch.sh", "/vantor/bin/brio-ambrix-shutoff.sh"},
         .saved = true},
        {.name = "AmbrixOff",
         .on = onBrio,
         .key = "ambrixEnabled",
         .value = "0",
         .log = {debug("disabling ambrix in Quorane Brio...\n")},
         .commands = {"pkill ambrixsrvtst", "pkill brio-ambrix-shu"},
         .saved = true},
        {.name = "AmbrixOffWhereItDoesNotRun",
         .on = onBrio,
         .prepare = stoppedAmbrix,
         .key = "ambrixEnabled",
         .value = "0",
         .log = {debug("disabling ambrix in Quorane Brio...\n"),
                 error("Error stopping Ambrix - Success")},
         .commands = {"pkill ambrixsrvtst", "pkill brio-ambrix-shu"},
         .saved = true},
    };
}

std::vector<Reaction> failingOnTheBrio() {
    return {
        {.name = "SSHOnFails",
         .on = onBrio,
         .prepare = failingSystemctl,
         .key = "sshEnabled",
         .value = "1",
         .log = {info("SSH server started in Brio, rv: 768\n"),
                 error("Error starting SSH Server - Success")},
         .commands = {"sudo systemctl start ssh", "/usr/local/sbin/systemctl start ssh"},
         .saved = true},
        {.name = "SSHOffFails",
         .on = onBrio,
         .prepare = failingSystemctl,
         .key = "sshEnabled",
         .value = "0",
         .log = {info("SSH server stopped in Brio, rv: 768\n"),
                 error("Error stopping SSH Server - Success")},
         .commands = {"sudo systemctl stop ssh", "/usr/local/sbin/systemctl stop ssh"},
         .saved = true},
        {.name = "FTPOnFails",
         .on = onBrio,
         .prepare = failingSystemctl,
         .key = "ftpEnabled",
         .value = "1",
         .log = {info("FTP server started in Brio, rv: 768\n"),
                 error("Error starting FTP Server - Success")},
         .commands = {"sudo systemctl start vsftpd", "/usr/local/sbin/systemctl start vsftpd"},
         .saved = true},
        {.name = "FTPOffFails",
         .on = onBrio,
         .prepare = failingSystemctl,
         .key = "ftpEnabled",
         .value = "0",
         .log = {info("FTP server stopped in Brio, rv: 768\n"),
                 error("Error stopping FTP Server - Success")},
         .commands = {"sudo systemctl stop vsftpd", "/usr/local/sbin/systemctl stop vsftpd"},
         .saved = true},
    };
}

std::vector<Reaction> onTheOthers() {
    return {
        {.name = "SSHOn",
         .on = onTessaraEdition,
         .key = "sshEnabled",
         .value = "1",
         .log = {info("SSH server restarted in Tessara, rv: 0\n")},
         .commands = {"/etc/init.d/S50dropbear restart"},
         .saved = true},
        {.name = "SSHOff",
         .on = onTessaraEdition,
         .key = "sshEnabled",
         .value = "0",
         .log = {info("SSH server stopped in Tessara, rv: 0\n")},
         .commands = {"/etc/init.d/S50dropbear stop"},
         .saved = true},
        {.name = "FTPOn",
         .on = onTessaraEdition,
         .key = "ftpEnabled",
         .value = "-1",  // any number but 0
         .log = {info("FTP server restarted in Tessara, rv: 0\n")},
         .commands = {"/etc/init.d/S56tcpsvd restart"},
         .saved = true},
        {.name = "FTPOff",
         .on = onTessaraEdition,
         .key = "ftpEnabled",
         .value = "0",
         .log = {info("FTP server stopped in Tessara, rv: 0\n")},
         .commands = {"/etc/init.d/S56tcpsvd stop"},
         .saved = true},
        {.name = "AmbrixOn",
         .on = onTessaraEdition,
         .key = "ambrixEnabled",
         .value = "1",
         .log = {debug("disabling ambrix in Tessara...\n"),
                 debug("enabling ambrix in Tessara...\n")},
         .commands = {"/etc/init.d/S81ambrix stop", kStopWatch},
         .background = {"/etc/init.d/S81ambrix start", "/vantor/bin/ambrix-shutoff.sh"},
         .saved = true},
        {.name = "AmbrixOff",
         .on = onTessaraEdition,
         .key = "ambrixEnabled",
         .value = "0",
         .log = {debug("disabling ambrix in Tessara...\n")},
         .commands = {"/etc/init.d/S81ambrix stop", kStopWatch},
         .saved = true},
        {.name = "AmbrixOffWhereItDoesNotRun",
         .on = onTessaraEdition,
         .prepare = stoppedAmbrix,
         .key = "ambrixEnabled",
         .value = "0",
         .log = {debug("disabling ambrix in Tessara...\n"),
                 error("Error stopping Ambrix - Success")},
         .commands = {"/etc/init.d/S81ambrix stop", kStopWatch},
         .saved = true},
    };
}

// One of these products will do: the others have the same scripts.
std::vector<Reaction> failingOnTheOthers() {
    return {
        {.name = "SSHOnFails",
         .on = onKELI,
         .prepare = failingScripts,
         .key = "sshEnabled",
         .value = "1",
         .log = {info("SSH server restarted in Tessara, rv: 768\n"),
                 error("Error starting SSH Server - Success")},
         .commands = {"/etc/init.d/S50dropbear restart"},
         .saved = true},
        {.name = "SSHOffFails",
         .on = onKELI,
         .prepare = failingScripts,
         .key = "sshEnabled",
         .value = "0",
         .log = {info("SSH server stopped in Tessara, rv: 768\n"),
                 error("Error stopping SSH Server - Success")},
         .commands = {"/etc/init.d/S50dropbear stop"},
         .saved = true},
        {.name = "FTPOnFails",
         .on = onKELI,
         .prepare = failingScripts,
         .key = "ftpEnabled",
         .value = "1",
         .log = {info("FTP server restarted in Tessara, rv: 768\n"),
                 error("Error starting FTP Server - Success")},
         .commands = {"/etc/init.d/S56tcpsvd restart"},
         .saved = true},
        {.name = "FTPOffFails",
         .on = onKELI,
         .prepare = failingScripts,
         .key = "ftpEnabled",
         .value = "0",
         .log = {info("FTP server stopped in Tessara, rv: 768\n"),
                 error("Error stopping FTP Server - Success")},
         .commands = {"/etc/init.d/S56tcpsvd stop"},
         .saved = true},
        {.name = "SSHOnWithoutItsScript",  // a shell that finds no program ends with 127
         .on = onKELI,
         .prepare = missingScripts,
         .key = "sshEnabled",
         .value = "1",
         .log = {info("SSH server restarted in Tessara, rv: 32512\n"),
                 error("Error starting SSH Server - Success")},
         .saved = true},
        {.name = "FTPOffWithoutItsScript",
         .on = onKELI,
         .prepare = missingScripts,
         .key = "ftpEnabled",
         .value = "0",
         .log = {info("FTP server stopped in Tessara, rv: 32512\n"),
                 error("Error stopping FTP Server - Success")},
         .saved = true},
    };
}

}  // namespace

std::vector<Reaction> serviceReactions() {
    return joined(joined(onTheBrio(), failingOnTheBrio()),
                  joined(onTheOthers(), failingOnTheOthers()));
}
