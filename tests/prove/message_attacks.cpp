// Attacks through the bus.

#include <unistd.h>

#include "attack_verdict.h"
#include "harness/bus_message.h"

namespace prove {

namespace {

using namespace std::chrono_literals;

constexpr size_t kLongest = 19'999'900;  // of a frame that is taken, with room for its header
constexpr auto kPatience = 30s;

std::string repeated(const std::string& text, size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

std::string quotedList(const std::string& name, size_t times) {
    std::string list = repeated("\"" + name + "\",", times);
    list.pop_back();
    return "[" + list + "]";
}

std::string ones(size_t bytes) {
    std::string list = "[" + repeated("1,", bytes / 2 - 1);
    list.back() = ']';
    return list;
}

void expect(Ground& ground, bool holds, const char* otherwise) {
    if (!holds) {
        ground.lose(otherwise);
    }
}

void numbersAsSet(Ground& ground) {
    if (ground.start()) {
        ground.wire().send("SET", ones(kLongest));
        expect(ground, ground.wire().isAnswered(kPatience), "answers");
    }
}

void numbersAsResponse(Ground& ground) {
    if (ground.start()) {
        ground.wire().send("RSP", ones(kLongest));
        expect(ground, ground.wire().isAnswered(kPatience), "answers");
    }
}

template <size_t times>
void manyDescriptors(Ground& ground) {
    if (ground.start()) {
        ground.wire().send("GET", R"({"id":"many","paramDescriptor":{"objectName":)" +
                                      quotedList("serial0", times) + "}}");
        expect(ground, ground.wire().isAnswered(kPatience), "answers");
    }
}

// As a struct of connections has them.
std::string member(const std::string& name, const std::string& text) {
    return "\"_d_" + name + R"(":{"type":"STRING","value":")" + text + "\"}";
}

void newMembers(Ground& ground) {
    if (!ground.start()) {
        return;
    }
    for (size_t frame = 0; frame < 12; ++frame) {
        std::string members;
        for (size_t i = 0; i < 50'000; ++i) {
            members += (i == 0 ? "" : ",") + member(std::to_string(frame * 50'000 + i), "x");
        }
        ground.wire().send("SET", R"({"id":"m","param":{"serial0":{)" + members + "}}}");
    }
    expect(ground, ground.wire().isAnswered(kPatience), "answers");
}

void longMember(Ground& ground) {
    if (!ground.start()) {
        return;
    }
    for (int frame = 0; frame < 4; ++frame) {
        ground.wire().send(
            "SET", R"({"id":"l","param":{"serial0":{)" +
                       member("text" + std::to_string(frame), std::string(kLongest - 200, 'x')) +
                       "}}}");
    }
    expect(ground, ground.wire().isAnswered(kPatience), "answers");
}

void longTextSixtyTimes(Ground& ground) {
    if (ground.start()) {
        ground.wire().send("SET", R"({"id":"t","param":{"systemName":")" +
                                      std::string(10'000'000, 'x') + R"("}})");
        ground.wire().send(
            "GET", R"({"id":"sixty","param":{"objectName":)" + quotedList("systemName", 60) + "}}");
        expect(ground, ground.wire().isAnswered(kPatience), "answers");
    }
}

void longIdentifier(Ground& ground) {
    if (ground.start()) {
        ground.wire().send("GET", R"({"id":")" + std::string(19'000'000, 'i') +
                                      R"(","param":{"objectName":)" + quotedList("active", 50) +
                                      "}}");
        expect(ground, ground.wire().isAnswered(kPatience), "answers");
    }
}

std::string question(const std::string& name) {
    return harness::busFrame(
        "[\"GET\", \"system\", 5, 0, 0]\n"
        R"({"id":"deaf","param":{"objectName":[")" +
        name + R"("]}})");
}

// The long text is one that any daemon takes; what is shorter fills the room that is left.
void askDeaf(Ground& ground) {
    ground.isSet(R"({"systemName":")" + std::string(400'000, 'x') + R"("})");
    ground.isSet(R"({"frameName":")" + std::string(4'000, 'x') + R"("})");
    ground.wire().setReading(false);
    ground.wire().sendBytes(repeated(question("systemName"), 600));
    ground.wire().sendBytes(repeated(question("frameName"), 3000));
    ground.wire().sendBytes(repeated(question("active"), 3000));
    ::sleep(5);
    ground.wire().setReading(true);
    expect(ground, ground.wire().isAnswered(kPatience), "answers");
    ground.isSet(R"({"systemName":"short","frameName":"short"})");
}

void deafBus(Ground& ground) {
    if (ground.start()) {
        askDeaf(ground);
    }
}

void deafBusShortMemory(Ground& ground) {
    ground.launch().limits[RLIMIT_AS] = rlim_t{64} << 20;
    deafBus(ground);
}

void longFrameName(Ground& ground) {
    if (!ground.start()) {
        return;
    }
    const std::string data = R"({"id":"f","param":{"frameName":")";
    ground.wire().send("SET", data + std::string(kLongest - data.size(), 'x') + R"("}})");
    ground.wire().isAnswered(kPatience);
    const size_t logins = ground.wire().logins();
    ground.wire().closeConnection();
    ground.wire().waitForLogin(logins + 1, kPatience);
    expect(ground, ground.wire().isAnswered(kPatience), "answers");
    expect(ground, ground.wire().longestFrame() <= 20'000'000, "a frame that nobody takes");
}

void setSavedMembers(Ground& ground, size_t count) {
    std::string members;
    for (size_t i = 0; i < count; ++i) {
        members +=
            (i == 0 ? "" : ",") + std::string(R"("systemName":")") + std::to_string(i) + "\"";
    }
    ground.wire().send("SET", R"({"id":"s","param":{)" + members + "}}");
    expect(ground, ground.wire().isAnswered(kPatience), "answers");
}

void thousandMembers(Ground& ground) {
    if (ground.start()) {
        setSavedMembers(ground, 1'000);
    }
}

void hundredThousandMembers(Ground& ground) {
    if (ground.start()) {
        setSavedMembers(ground, 100'000);
    }
}

void undecodable(Ground& ground) {
    ground.keepLog();
    if (!ground.start()) {
        return;
    }
    const size_t before = ground.log()->lines().size();
    const std::string frames = repeated(harness::busFrame("[\x01\x02\x03"), 500);
    const auto end = std::chrono::steady_clock::now() + 3s;
    while (std::chrono::steady_clock::now() < end && ground.wire().sendBytes(frames)) {
    }
    ground.wire().isAnswered(kPatience);
    const size_t lines = ground.log()->lines().size() - before;
    expect(ground, lines < 2'000, (std::to_string(lines) + " log lines written").c_str());
}

constexpr Attack kAttacks[] = {
    {"20 MB of [1,1,1… as SET", "Quorane", numbersAsSet, 19.1},
    {"20 MB of [1,1,1… as RSP", "Quorane", numbersAsResponse, 19.1},
    {"descriptor GET of 300,000 x serial0", "Quorane", manyDescriptors<300'000>, 2.9},
    {"descriptor GET of 40,000 x serial0", "Quorane", manyDescriptors<40'000>, 0.4},
    {"12 SETs of serial0, each 50,000 new members", "Quorane", newMembers, 2.0},
    {"4 SETs of serial0, each a new member of 20 MB", "Quorane", longMember, 19.1},
    {"text of 10 MB, GET of 60 names", "Quorane", longTextSixtyTimes, 9.5},
    {"id of 19 MB echoed 50 times", "Quorane", longIdentifier, 18.1},
    {"deaf bus, 600 GETs of 400 KB, 6000 others", "Quorane", deafBus},
    {"deaf bus under 64 MB", "Quorane", deafBusShortMemory},
    {"frameName of 20 MB, then a reconnect", "Quorane", longFrameName, 19.1},
    {"one SET of 1,000 saved members", "Quorane", thousandMembers},
    {"one SET of 100,000 saved members", "Quorane", hundredThousandMembers, 1.7},
    {"3 s of undecodable frames", "Quorane", undecodable},
};

}  // namespace

std::span<const Attack> messageAttacks() {
    return kAttacks;
}

}  // namespace prove
