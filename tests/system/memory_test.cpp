// What hostile frames may cost: little more than their own size while they are there, nothing
// afterwards.

#include <sys/resource.h>

#include <fstream>
#include <functional>

#include "on_bus.h"
#include "pallframe/simulation/devices.h"

using namespace harness;

namespace {

constexpr size_t kFrame = 20'000'000;
constexpr long kMebibyte = 1024 * 1024;
constexpr long kMostAbove = 48 * kMebibyte;
constexpr long kMostLeft = 1 * kMebibyte;

std::string repeated(const std::string& item, size_t bytes) {
    std::string text;
    text.reserve(bytes + item.size());
    while (text.size() + item.size() <= bytes) {
        text += item;
    }
    return text;
}

std::string frameOf(const std::string& payload) {
    return std::to_string(payload.size()) + ":" + payload + ";";
}

std::string message(const std::string& type, const std::string& data) {
    return frameOf("[\"" + type + "\", \"system\", 5, 8, 0]\n" + data);
}

std::string listOfOnes() {
    return R"({"id":"1@5","param":[)" + repeated("1,", kFrame - 200) + "1]}";
}

std::string names(const std::string& kind, const std::string& name, size_t count) {
    std::string list = "\"" + name + "\"";
    for (size_t i = 1; i < count; ++i) {
        list += ",\"" + name + "\"";
    }
    return R"({"id":"1@5",")" + kind + R"(":{"objectName":[)" + list + "]}}";
}

std::string longNames(size_t times) {
    std::string frames;
    const std::string text(1024 * 1024, '\x7f');
    frames += message("SET", R"({"id":"1@5","param":{"frameName":")" + text + "\"}}");
    for (size_t i = 0; i < times; ++i) {
        frames += message(
            "GET", R"({"id":")" + std::to_string(i) + R"(","param":{"objectName":["frameName"]}})");
    }
    return frames + message("SET", R"({"id":"1@5","param":{"frameName":"short"}})");
}

std::string manyMembers() {
    std::string members;
    for (int i = 0; i < 11'000; ++i) {
        members += (i > 0 ? ",\"_d_" : "\"_d_") + std::to_string(i) + R"(":{"type":"INT32"})";
    }
    std::string frames;
    for (int i = 0; i < 12; ++i) {
        frames += message("SET", R"({"id":"1@5","param":{"serial0":{)" + members + "}}}");
    }
    return frames;
}

std::string longMembers() {
    std::string frames;
    for (int i = 0; i < 10; ++i) {
        frames += message("SET", R"({"id":"1@5","param":{"serial0":{"_d_)" + std::to_string(i) +
                                     R"(":{"type":"STRING","value":")" +
                                     std::string(2'000'000, 'x') + "\"}}}}");
    }
    return frames;
}

struct Attack {
    const char* name;
    std::string (*bytes)();
};

const Attack kAttacks[] = {
    {"SetOfSmallItems", [] { return message("SET", listOfOnes()); }},
    {"ResponseOfSmallItems", [] { return message("RSP", listOfOnes()); }},
    {"GetOfSmallItems", [] { return message("GET", listOfOnes()); }},
    {"SetOfALongText",
     [] {
         return message("SET", R"({"id":"1@5","param":{"frameName":")" +
                                   std::string(kFrame - 200, 'x') + "\"}}");
     }},
    {"DescriptorsOfOneNameRepeated",
     [] { return message("GET", names("paramDescriptor", "serial0", 300'000)); }},
    {"ValuesOfOneNameRepeated",
     [] { return message("GET", names("param", "paramDescriptor", 40'000)); }},
    {"LongIdAndManyNames",
     [] {
         return message("GET", R"({"id":")" + std::string(kFrame - 2000, 'i') +
                                   R"(","param":{"objectName":["frameName","ipAddress"]}})");
     }},
    {"UnknownMembers",
     [] {
         std::string members;
         for (int i = 0; i < 49'000; ++i) {
             members += ",\"" + std::to_string(i) + "\":1";
         }
         return message("SET", R"({"id":"1@5","param":{"nothing":1)" + members + "}}");
     }},
    {"NewMembersOfAStruct", manyMembers},
    {"LongMembersOfAStruct", longMembers},
    {"LongTextAskedForAgainAndAgain", [] { return longNames(100); }},
    {"LongDetailsOfTheOtherController",
     [] {
         return message("NOT", R"({"param":{"kelMasterSystemDetails":{"primary":{"version":")" +
                                   std::string(kFrame - 200, 'v') + "\"}}}}");
     }},
    {"Garbage", [] { return frameOf(std::string(kFrame, '{')); }},
    {"GarbageBehindAHeader",
     [] { return frameOf("[\"SET\", \"system\", 5, 8, 0]\n" + std::string(kFrame - 100, '\\')); }},
    {"LongHeader", [] { return frameOf("[\"" + std::string(kFrame - 100, 'h') + "\"]\n{}"); }},
    {"Misframed", [] { return std::to_string(kFrame) + ":" + std::string(kFrame, 'm') + "!"; }},
    {"NoLength", [] { return std::string(kFrame, '7') + std::string(16, 'x'); }},
};

class MemoryOf : public OnBus {
  protected:
    using OnBus::OnBus;

    // In bytes, of /proc/<pid>/status.
    long statusOf(const std::string& key) const {
        std::ifstream status(daemon->proc() / "status");
        for (std::string word; status >> word;) {
            if (word == key) {
                long kibibytes = 0;
                status >> kibibytes;
                return kibibytes * 1024;
            }
        }
        return -1;
    }
    long resident() const { return statusOf("VmRSS:"); }

    void beginPeak() const { std::ofstream(daemon->proc() / "clear_refs") << "5"; }
    long peak() const { return statusOf("VmHWM:"); }

    void limitAddressSpace(rlim_t bytes) const {
        const rlimit limit{bytes, bytes};
        const int pid = std::stoi(daemon->proc().filename());
        ASSERT_EQ(::prlimit(pid, RLIMIT_AS, &limit, nullptr), 0);
    }

    void startWithAName() {
        start();
        set(R"({"systemName":"Kept"})");
        sentUntilNow();
    }

    // Reads until the daemon has nothing more to say. An answer may be lost while it has no room.
    void readEverything() {
        constexpr const char* kQuestion = R"({"id":"now","param":{"objectName":["systemName"]}})";
        bus.get("system", kQuestion);
        for (size_t received = 1;; ++received) {
            const BusMessage message = bus.receive();
            if (message.id() == "now") {
                return;
            }
            if (message.objectName.empty() || received % 100 == 0) {
                bus.get("system", kQuestion);
            }
        }
    }

    void expectAnswersAndState() {
        bus.close();
        greeted();
        EXPECT_EQ(valueOf("systemName"), "\"Kept\"");
    }
};

class MemoryUnder : public MemoryOf, public testing::WithParamInterface<Attack> {
  protected:
    void attack(bool read) {
        bus.sendRaw(GetParam().bytes());
        bus.waitUntilRead();
        if (read) {
            readEverything();
        }
    }

    void expectSmall(bool read) {
        startWithAName();
        const long before = resident();
        beginPeak();
        attack(read);
        if (!read) {
            bus.close();
            greeted();  // by when everything is worked off
        }
        EXPECT_LT(peak(), before + static_cast<long>(kFrame) + kMostAbove);
        waitUntil([&] { return resident() <= before + kMostLeft; }, "memory to come back");
        expectAnswersAndState();
    }
};

TEST_P(MemoryUnder, StaysSmallWithABusThatReads) {
    expectSmall(true);
}

TEST_P(MemoryUnder, StaysSmallWithABusThatDoesNot) {
    bus.setReceiveBuffer(4096);
    expectSmall(false);
}

TEST_P(MemoryUnder, IsEnoughWhenTheAddressSpaceIsShort) {
    startWithAName();
    limitAddressSpace(128 * kMebibyte);
    attack(false);
    expectAnswersAndState();
    attack(true);
    expectAnswersAndState();
}

INSTANTIATE_TEST_SUITE_P(All, MemoryUnder, testing::ValuesIn(kAttacks),
                         [](const auto& tested) { return tested.param.name; });

class ShortMemory : public MemoryOf {
  protected:
    ShortMemory() : MemoryOf("Quorane") {}
};

// Meanwhile the poll goes on, and what it says has no room either.
TEST_F(ShortMemory, WithADeafBusEndsNeitherThePollNorTheDaemon) {
    bus.setReceiveBuffer(4096);
    startWithAName();
    limitAddressSpace(64 * kMebibyte);
    bus.sendRaw(longNames(60) + message("SET", listOfOnes()) + longMembers());
    bus.waitUntilRead();
    log.waitFor("Battery Sample = OFF");
    expectAnswersAndState();
    pallframe::simulation::setCable(frame.tree(), "eth0", false);
    bus.waitFor("NOT", "system");
}

TEST_F(MemoryOf, HalfAFrameGoesWithItsConnection) {
    startWithAName();
    const long before = resident();
    bus.sendRaw(std::to_string(kFrame) + ":" + std::string(kFrame / 2, 'h'));
    bus.waitUntilRead();
    bus.stopListening();
    bus.close();
    waitUntil([&] { return resident() <= before + kMostLeft; }, "memory to come back");
    bus.listen();
    expectAnswersAndState();
}

TEST_F(MemoryOf, FrameThatIsOnlyAnnouncedIsNotTaken) {
    startWithAName();
    const long before = resident();
    bus.sendRaw("20000000:ten bytes.");
    bus.waitUntilRead();
    EXPECT_LT(resident(), before + kMostLeft);
}

}  // namespace
