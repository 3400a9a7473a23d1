// What ./dev says to a person, with stand-ins for the programs that it calls.

#include "pallframe_process.h"

using namespace harness;
using namespace outside;

namespace {

// A checkout in which nothing was built.
class Dev : public testing::Test {
  protected:
    Dev() {
        fs::copy_file("dev", directory.path("dev"));
        standIn("dpkg-query", "echo install ok installed");
        standIn("man", "echo page of $1");
    }

    void standIn(const std::string& program, const std::string& script) const {
        const std::string path = directory.write(program, "#!/bin/sh\n" + script + "\n");
        fs::permissions(path, fs::perms::owner_all);
    }

    Result dev(const Words& words) const {
        Words all{"env", "PATH=" + directory.path() + ":" + std::getenv("PATH"),
                  directory.path("dev")};
        all.insert(all.end(), words.begin(), words.end());
        return run(all);
    }

    const TemporaryDirectory directory;
};

TEST_F(Dev, ManShowsThePageAndNothingOfTheBuild) {
    standIn("cmake", "echo noise; echo noise >&2");
    const Result result = dev({"man", "pallctl"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "page of pallctl\n");
    EXPECT_EQ(result.error, "");
}

TEST_F(Dev, ManShowsWhyTheBuildFails) {
    standIn("cmake", "echo broken; exit 3");
    const Result result = dev({"man", "pallctl"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error, "broken\n");
}

TEST_F(Dev, SaysInOneLineWhatMakesNoSense) {
    standIn("cmake", "echo built >&2");
    const std::vector<std::pair<Words, std::string>> misuses{
        {{"run", "--product"}, "run --product needs a name"},
        {{"run", "--twice"}, "run knows --once and --product NAME, not '--twice'"},
        {{"man"}, "man needs the name of a program"},
        {{"man", "pallctl", "pallbus"}, "man takes one name, not also 'pallbus'"},
        {{"fuzz", "--seconds"}, "fuzz --seconds needs a number"},
        {{"fuzz", "--seconds", "long"}, "fuzz --seconds needs a number"},
        {{"fuzz", "requests"}, "fuzz knows --seconds N, not 'requests'"},
        {{"fuzz", "--seconds", "5", "requests"}, "fuzz knows --seconds N, not 'requests'"},
        {{"bench", "fast"}, "bench takes nothing, not 'fast'"},
        {{"lint", "src"}, "lint takes nothing, not 'src'"},
    };
    for (const auto& [words, complaint] : misuses) {
        const Result result = dev(words);
        EXPECT_EQ(result.status, 2) << complaint;
        EXPECT_EQ(result.output, "") << complaint;
        EXPECT_EQ(result.error, "dev: " + complaint + "\n");
    }
}

TEST_F(Dev, ABuildThatFailsIsTheEnd) {
    standIn("cmake", "echo broken; exit 3");
    const Result result = dev({"run"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.error, "broken\n");
}

TEST_F(Dev, ShellSaysWhatToStartFirst) {
    const Result result = dev({"shell"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error,
              "dev: nothing is built yet; start ./dev run first, in another terminal\n");
}

TEST_F(Dev, ShellSaysThatTheFirstBuildIsUnderWay) {
    const std::string begun = directory.path("begun");
    // It ends with the checkout.
    standIn("cmake",
            "touch " + begun + "; while [ -d " + directory.path() + " ]; do sleep 0.05; done");
    Process building({"env", "PATH=" + directory.path() + ":" + std::getenv("PATH"),
                      directory.path("dev"), "run"});
    waitUntil([&begun] { return fs::exists(begun); }, "the build to begin");
    const Result result = dev({"shell"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error,
              "dev: the first build is under way; come back when ./dev run shows its table\n");
}

}  // namespace
