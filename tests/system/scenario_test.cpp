// Plays tests/system/scenario.txt, which says itself how it is to be read.

#include <cstdlib>
#include <fstream>
#include <sstream>

#include "on_bus.h"
#include "text_parts.h"

using namespace harness;

namespace {

constexpr const char* kTranscript = "tests/system/scenario.txt";

std::vector<std::string> readTranscript() {
    const std::ifstream file(kTranscript);
    std::ostringstream text;
    text << file.rdbuf();
    return outside::linesOf(text.str());
}

class Scenario : public OnBus {
  protected:
    Scenario() : OnBus("Quorane") {}

    // Does what the line says; gives what there is to be seen of it, in lines of the same form.
    std::vector<std::string> play(const std::string& line) {
        const std::string rest = line.substr(std::min(line.size(), line.find(' ') + 1));
        if (line.starts_with("$ ")) {
            return joined(line, type(rest));
        }
        if (line.starts_with("-> ")) {
            say(rest);
        } else if (line.starts_with("<- ")) {
            return {"<- " + hear()};
        } else if (line.starts_with("~ ")) {
            leftOut_.push_back(rest.substr(0, rest.find(' ')));
        } else if (line.starts_with("| ")) {
            return {};  // stands there already when what printed it was typed
        }
        return {line};
    }

  private:
    static std::vector<std::string> joined(std::string first, std::vector<std::string> others) {
        others.insert(others.begin(), std::move(first));
        return others;
    }

    std::vector<std::string> type(const std::string& command) {
        if (command == "pallwatch") {
            daemon.emplace();
            ::setenv("PALLWATCH", std::to_string(daemon->pid()).c_str(), 1);
            bus.accept();
            return {};
        }
        Process shell({"sh", "-c", command});
        EXPECT_EQ(shell.waitForEnd(), 0) << command;
        std::vector<std::string> printed = outside::linesOf(shell.output().waitForEnd());
        for (std::string& line : printed) {
            line.insert(0, "| ");
        }
        return printed;
    }

    void say(const std::string& message) const {
        const size_t headerEnd = message.find("] {") + 1;
        bus.sendRaw(busFrame(message.substr(0, headerEnd) + "\n" + message.substr(headerEnd + 1)));
    }

    std::string hear() {
        for (;;) {
            try {
                const BusMessage message = bus.receive();
                if (!isLeftOut(message)) {
                    return withoutId(message);
                }
            } catch (const std::runtime_error& end) {
                return std::string(end.what()).starts_with("the daemon left") ? "leaves"
                                                                              : end.what();
            }
        }
    }

    bool isLeftOut(const BusMessage& message) const {
        const bool isHeartbeat = message.type == "SET" && message.objectName.empty();
        return isHeartbeat ||
               std::any_of(leftOut_.begin(), leftOut_.end(), [&](const std::string& name) {
                   return !message.at({"param", name.c_str()}).empty();
               });
    }

    std::vector<std::string> leftOut_;
};

std::string textOf(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST_F(Scenario, ADayOfAFrame) {
    const std::vector<std::string> transcript = readTranscript();
    ASSERT_GT(transcript.size(), 50U) << kTranscript;
    std::vector<std::string> seen;
    for (const std::string& line : transcript) {
        for (const std::string& one : play(line)) {
            seen.push_back(one);
        }
        if (line.starts_with("<- ") && seen.back() != line) {
            break;  // what follows would only follow from that
        }
    }
    ASSERT_EQ(textOf(seen), textOf(transcript));
    EXPECT_EQ(daemon->waitForEnd(), 0);
    EXPECT_THAT(daemon->output().waitForEnd(),
                testing::EndsWith("Pallwatch caught signal:15 (ec: Success) - Stopping.\n"));
    EXPECT_EQ(daemon->error().waitForEnd(), "");
}

}  // namespace
