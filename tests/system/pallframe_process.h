#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/run.h"
#include "support/temporary_directory.h"

// pallframe as its tests start it from outside.
namespace outside {

namespace fs = std::filesystem;
using harness::Process;
using harness::programDirectory;
using harness::Result;
using harness::run;

using Words = std::vector<std::string>;

// The frames of this test program are known in a place of its own, so that others which run at the
// same time are no frames of its user.
class OwnRegistry {
  public:
    OwnRegistry() { ::setenv("XDG_RUNTIME_DIR", directory_.path().c_str(), 1); }

  private:
    const TemporaryDirectory directory_;
};

inline const OwnRegistry ownRegistry;

inline Words pallframeCommand(const Words& arguments) {
    Words words{programDirectory() / "pallframe"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

inline Words inFrame(const Words& command) {
    Words words = pallframeCommand({"run", "--"});
    words.insert(words.end(), command.begin(), command.end());
    return words;
}

// A command in a frame of its own, beside bus and daemon.
inline Words withDaemon(const Words& command) {
    Words words{"tests/system/with-daemon", programDirectory()};
    words.insert(words.end(), command.begin(), command.end());
    return inFrame(words);
}

inline Result shellInFrame(const std::string& script) {
    return run(inFrame({"sh", "-c", script}));
}

// What can be read: a process may end between the opening of its file and the reading.
inline std::string readFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

// Processes of this machine that were started with this word.
inline std::vector<fs::path> processesWith(const std::string& word) {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string line = readFile(entry.path() / "cmdline");
        if (line.find(word) != std::string::npos) {
            found.push_back(entry.path());
        }
    }
    return found;
}

// A word that no other process of this machine has on its command line.
inline std::string uniqueWord() {
    static int count = 0;
    return "mark-" + std::to_string(::getpid()) + "-" + std::to_string(++count);
}

// A frame whose files can be seen from outside, with a command that runs until it is told to end.
class Tree : public testing::Test {
  protected:
    Words words(const Words& options = {}, const std::string& script = "exec sleep 1000") const {
        Words all = pallframeCommand({"run", "--frame-dir", tree});
        all.insert(all.end(), options.begin(), options.end());
        const Words command{"--", "sh", "-c", "echo ready; " + script, mark};
        all.insert(all.end(), command.begin(), command.end());
        return all;
    }

    Result tell(Words arguments) const {
        arguments.insert(arguments.begin() + 1, {"--frame-dir", tree});
        return run(pallframeCommand(arguments));
    }

    void expectNoTrace() const {
        harness::waitUntil([this] { return !fs::exists(tree); }, "the tree to go");
        harness::waitUntil([this] { return processesWith(mark).empty(); }, "the processes to go");
        EXPECT_EQ(readFile("/proc/self/mounts"), mountsBefore);
        EXPECT_TRUE(fs::is_empty(directory.path()));
    }

    // A frame that the test has left to its end still has mounts and files in the directory.
    void TearDown() override {
        harness::waitUntil([this] { return processesWith(directory.path()).empty(); },
                           "the frame's own processes to go");
    }

    const TemporaryDirectory directory;
    const std::string tree = directory.path("tree");
    const std::string mark = uniqueWord();
    const std::string mountsBefore = readFile("/proc/self/mounts");
};

}  // namespace outside
