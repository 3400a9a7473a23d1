// Attacks through what is around the daemon: files, commands, the log, limits and signals.

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <list>

#include "attack_verdict.h"
#include "harness/process.h"
#include "harness/process_table.h"

namespace prove {

namespace {

namespace fs = std::filesystem;
using pallframe::simulation::Descriptor;
using namespace std::chrono_literals;

constexpr auto kPatience = 30s;

void clear(const std::string& path) {
    fs::remove(path);
    fs::create_directories(fs::path(path).parent_path());
}

void putPipe(const std::string& path) {
    clear(path);
    pallframe::simulation::check(::mkfifo(path.c_str(), 0644), path);
}

void putEndless(const std::string& path) {
    clear(path);
    fs::create_symlink("/dev/zero", path);
}

void putHuge(const std::string& path) {
    clear(path);
    const Descriptor file(
        pallframe::simulation::check(::open(path.c_str(), O_WRONLY | O_CREAT, 0644), path));
    pallframe::simulation::check(::ftruncate(file.get(), off_t{1} << 30), path);
}

template <const char* const& path, void (*put)(const std::string&)>
void oddFile(Ground& ground) {
    put(path);
    ground.start();
}

constexpr const char* kLabels = "/vantor/app/tarna/node/deviceLabels.json";
constexpr const char* kLabel = "/vantor/etc/deviceName";
constexpr const char* kAddress = "/sys/class/net/eth0/address";
constexpr const char* kEeprom = "/tmp/eeprom";
constexpr const char* kState = "/vantor/etc/configurableSystemDetails.json";

void setOften(Ground& ground, int times) {
    for (int i = 0; i < times; ++i) {
        if (!ground.isSet(R"({"systemName":"n)" + std::to_string(i) + R"("})", 200, 3s)) {
            ground.lose("answers");
            return;
        }
    }
}

// Bound and never read.
void standingLog(Ground& ground) {
    const Descriptor log(
        pallframe::simulation::check(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0), "socket"));
    sockaddr_un address{AF_UNIX, "/dev/log"};
    pallframe::simulation::check(
        ::bind(log.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), "/dev/log");
    if (ground.start()) {
        setOften(ground, 30);
    }
    ground.wire().isAnswered(5s);
    ::sleep(2);
    ground.stopNow();
}

template <int Launch::*output>
void standingOutput(Ground& ground) {
    std::array<int, 2> ends{};
    pallframe::simulation::check(::pipe2(ends.data(), O_CLOEXEC), "pipe");
    const Descriptor reader(ends[0]);
    const Descriptor writer(ends[1]);
    ::fcntl(writer.get(), F_SETPIPE_SZ, 4096);
    const std::string filling(4096, 'x');
    pallframe::simulation::check(::write(writer.get(), filling.data(), filling.size()), "pipe");
    ground.launch().*output = writer.get();
    if (ground.start()) {
        setOften(ground, 30);
        const size_t logins = ground.wire().logins();
        ground.wire().closeConnection();
        if (!ground.wire().waitForLogin(logins + 1, 8s)) {
            ground.lose("no reconnect");
        }
    }
    ground.stopNow();
}

// Connects until nothing is taken any more, without waiting.
std::list<Descriptor> fillBacklog(int port) {
    std::list<Descriptor> all;
    for (int i = 0; i < 16; ++i) {
        all.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ::connect(all.back().get(), reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    return all;
}

void hungBus(Ground& ground) {
    if (!ground.start()) {
        return;
    }
    ground.wire().hang();
    {
        const std::list<Descriptor> others = fillBacklog(ground.wire().port());
        ground.wire().closeConnection();
        ::sleep(17);  // until the kernel's own attempts are far apart
    }
    const size_t logins = ground.wire().logins();
    ground.wire().stopListening();
    ground.wire().listen();
    ground.wire().forgetQuestions();
    const auto from = std::chrono::steady_clock::now();
    if (!ground.wire().waitForLogin(logins + 1, 40s)) {
        ground.lose("no reconnect");
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - from;
    ground.notBelow(time.count());
}

void hangingDevmem(Ground& ground) {
    ground.frame().writeProgram("/sbin/devmem", "#!/bin/sh\nsleep 60\n");
    if (ground.start()) {
        ::sleep(3);
        ground.stopNow();
    }
}

void heldOutput(Ground& ground) {
    ground.frame().writeProgram("/sbin/ifenslave", "#!/bin/sh\nsleep 8 &\nexit 0\n");
    if (ground.start()) {
        ground.isSet(R"({"activeEthernet":1})");
    }
}

void closedDescriptors(Ground& ground) {
    ground.keepLog();
    ground.launch().closed = true;
    if (ground.start()) {
        setOften(ground, 10);
        ground.isSet(R"({"ipAddress":167772191})");
    }
    if (ground.wire().strayBytes() > 0) {
        ground.lose(std::to_string(ground.wire().strayBytes()) + " stray bytes in the stream");
    }
}

void shortFiles(Ground& ground) {
    if (!ground.start()) {
        return;
    }
    ground.limitFiles(100);
    ground.isSet(R"({"systemName":"other"})", 200, 3s);
    ground.limitFiles(RLIM_INFINITY);
}

void hangUp(Ground& ground) {
    ground.launch().arguments = {"-d"};
    if (!ground.start()) {
        return;
    }
    for (const harness::ProcessEntry& one : harness::processes()) {
        if (one.commandLine == ground.launch().program + " -d " && one.state != 'Z') {
            ground.follow(one.pid);
            ::kill(one.pid, SIGHUP);
        }
    }
}

void noThread(Ground& ground) {
    ground.launch().environment = {{"LD_PRELOAD", harness::programDirectory() / "libprove_shim.so"},
                                   {kControlVariable, ground.page().path()}};
    ground.page().refuseThreadsFor(2000);
    ground.start();
}

constexpr Attack kAttacks[] = {
    {"deviceLabels.json a pipe", "Tessara", oddFile<kLabels, putPipe>},
    {"deviceLabels.json /dev/zero", "Tessara", oddFile<kLabels, putEndless>},
    {"deviceLabels.json of 1 GB", "Tessara", oddFile<kLabels, putHuge>},
    {"deviceName a pipe", "Tessara", oddFile<kLabel, putPipe>},
    {"deviceName /dev/zero", "Tessara", oddFile<kLabel, putEndless>},
    {"deviceName of 1 GB", "Tessara", oddFile<kLabel, putHuge>},
    {"eth0/address a pipe", "QuoraneBrio", oddFile<kAddress, putPipe>},
    {"eth0/address /dev/zero", "QuoraneBrio", oddFile<kAddress, putEndless>},
    {"eth0/address of 1 GB", "QuoraneBrio", oddFile<kAddress, putHuge>},
    {"eeprom a pipe", "QuoraneBrio", oddFile<kEeprom, putPipe>},
    {"eeprom /dev/zero", "QuoraneBrio", oddFile<kEeprom, putEndless>},
    {"eeprom of 1 GB", "QuoraneBrio", oddFile<kEeprom, putHuge>},
    {"state file a pipe", "QuoraneBrio", oddFile<kState, putPipe>},
    {"state file /dev/zero", "QuoraneBrio", oddFile<kState, putEndless>},
    {"state file of 1 GB", "QuoraneBrio", oddFile<kState, putHuge>},
    {"system log stands still", "QuoraneBrio", standingLog},
    {"standard output a full pipe", "QuoraneBrio", standingOutput<&Launch::output>},
    {"standard error a full pipe", "QuoraneBrio", standingOutput<&Launch::error>},
    {"bus hung with a full backlog, then restarted", "QuoraneBrio", hungBus},
    {"hanging devmem, then SIGTERM", "Quorane", hangingDevmem},
    {"ifenslave whose child keeps its output", "Quorane", heldOutput},
    {"descriptors 0 to 2 closed", "QuoraneBrio", closedDescriptors},
    {"no room for a file (SIGXFSZ)", "QuoraneBrio", shortFiles},
    {"SIGHUP after -d", "QuoraneBrio", hangUp},
    {"no thread for 2 s at the start", "QuoraneBrio", noThread},
};

}  // namespace

std::span<const Attack> cardAttacks() {
    return kAttacks;
}

}  // namespace prove
