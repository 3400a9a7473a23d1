// Replays every exchange that doc/bus-protocol.md shows: what is written there is what happens.

#include <fnmatch.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/bus_peer.h"
#include "harness/frame.h"
#include "harness/process.h"
#include "harness/syslog_receiver.h"

namespace {

using harness::BusMessage;
using harness::BusPeer;

constexpr const char* kPage = "doc/bus-protocol.md";
constexpr const char* kFence = "```transcript pallwatch";

// One line of a transcript: header and data, and who sends it.
struct Line {
    bool fromDaemon;
    std::string header;
    std::string data;
};

struct Transcript {
    std::string title;                   // the heading it stands under
    std::vector<std::string> arguments;  // of the daemon
    std::vector<Line> lines;
};

Line parseLine(const std::string& text) {
    const size_t end = text.find("] {");
    if (end == std::string::npos || (text.rfind("<- ", 0) != 0 && text.rfind("-> ", 0) != 0)) {
        throw std::runtime_error("no line of a transcript: " + text);
    }
    return {text[0] == '<', text.substr(3, end - 2), text.substr(end + 2)};
}

std::vector<std::string> words(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::vector<Transcript> readTranscripts() {
    std::ifstream page(kPage);
    std::vector<Transcript> transcripts;
    std::string title;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind(kFence, 0) == 0) {
            transcripts.push_back({title, words(line.substr(std::string(kFence).size())), {}});
            inside = true;
        } else if (line == "```") {
            inside = false;
        } else if (inside) {
            transcripts.back().lines.push_back(parseLine(line));
        } else if (line.rfind("### ", 0) == 0) {
            title = line.substr(4);
        }
    }
    return transcripts;
}

// A pattern of the page as fnmatch(3) wants it: only "*" is special.
std::string glob(const std::string& pattern) {
    std::string escaped;
    for (const char c : pattern) {
        if (c == '[' || c == ']' || c == '?' || c == '\\') {
            escaped += '\\';
        }
        escaped += c;
    }
    return escaped;
}

bool matches(const Line& line, const BusMessage& message) {
    return line.header == message.header &&
           fnmatch(glob(line.data).c_str(), message.data.c_str(), 0) == 0;
}

// The status poll announces readings when it finds them.
bool isReading(const BusMessage& message) {
    static const std::vector<std::string> readings = {
        "ethPort1Status", "ethPort2Status", "activeEthernet", "psu1Voltage", "psu2Voltage",
        "battVoltage",    "ipAddress",      "netmask",        "gateway",     "frameType"};
    return message.type == "NOT" &&
           std::any_of(readings.begin(), readings.end(), [&message](const std::string& name) {
               return !message.at({"param", name.c_str()}).empty();
           });
}

void expectLine(BusPeer& bus, const Line& line) {
    BusMessage message = bus.receive();
    while (!matches(line, message) && isReading(message)) {
        message = bus.receive();
    }
    EXPECT_EQ(message.header, line.header);
    EXPECT_PRED2(
        [](const std::string& pattern, const std::string& text) {
            return fnmatch(glob(pattern).c_str(), text.c_str(), 0) == 0;
        },
        line.data, message.data);
}

// What stands before the first line that the page shows: the greeting, unless it is the subject.
void passGreeting(BusPeer& bus, const Transcript& transcript) {
    if (transcript.title != "A new connection") {
        bus.waitFor("NOT", "system");
    }
}

TEST(Transcripts, EveryExchangeOfTheProtocolPageHappensAsWritten) {
    const std::vector<Transcript> transcripts = readTranscripts();
    ASSERT_GE(transcripts.size(), 12U) << "in " << kPage;
    for (const Transcript& transcript : transcripts) {
        SCOPED_TRACE(transcript.title);
        const harness::Frame frame("Quorane");
        const harness::SyslogReceiver log;
        BusPeer bus;
        const harness::Daemon daemon(transcript.arguments);
        bus.accept();
        passGreeting(bus, transcript);
        for (const Line& line : transcript.lines) {
            if (line.fromDaemon) {
                expectLine(bus, line);
            } else {
                bus.sendRaw(harness::busFrame(line.header + "\n" + line.data));
            }
        }
    }
}

}  // namespace
