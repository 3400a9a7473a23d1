// What `cmake --install` leaves on a machine.

#include "pallframe_process.h"
#include "unit_directives.h"

using namespace outside;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* kDocumentation = "usr/share/doc/pallwatch/";

class InstallTo : public testing::Test {
  protected:
    explicit InstallTo(std::string prefix) : prefix_(std::move(prefix)) {}

    void SetUp() override {
        const Result result = run({"env", "DESTDIR=" + root, "cmake", "--install",
                                   programDirectory().parent_path(), "--prefix", prefix_});
        ASSERT_EQ(result.status, 0) << result.error;
    }

    const TemporaryDirectory directory;
    const std::string root = directory.path("root");

  private:
    const std::string prefix_;
};

class Install : public InstallTo {
  protected:
    Install() : InstallTo("/usr") {}

    // Without those of the documentation's own directory.
    std::vector<std::string> files() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            const std::string path = entry.path().lexically_relative(root);
            if (!entry.is_directory() && path.find(kDocumentation) != 0) {
                found.push_back(path);
            }
        }
        return found;
    }
};

class InstallAsUsual : public InstallTo {
  protected:
    InstallAsUsual() : InstallTo("/usr/local") {}
};

TEST_F(Install, PutsProgramsPagesAndCompletionInTheirPlaces) {
    EXPECT_THAT(files(), UnorderedElementsAre(
                             "usr/sbin/pallwatch", "usr/lib/systemd/system/pallwatch.service",
                             "usr/bin/pallbus", "usr/bin/pallctl", "usr/bin/pallframe",
                             "usr/share/man/man1/pallbus.1", "usr/share/man/man1/pallctl.1",
                             "usr/share/man/man1/pallframe.1", "usr/share/man/man8/pallwatch.8",
                             "usr/share/bash-completion/completions/pallbus",
                             "usr/share/bash-completion/completions/pallctl",
                             "usr/share/bash-completion/completions/pallframe",
                             "usr/share/zsh/site-functions/_pallwatch"));
}

TEST_F(Install, BringsTheDocumentsThatThePagesName) {
    for (const char* document : {"files.md", "scenarios.md", "scenarios/link_flap.scenario"}) {
        EXPECT_TRUE(fs::exists(root + "/" + kDocumentation + document)) << document;
    }
}

TEST_F(Install, LeavesProgramsThatRun) {
    const Result version = run({root + "/usr/bin/pallctl", "--version"});
    EXPECT_EQ(version.output, "pallctl " PALLWATCH_VERSION "\n");
    const Result usage = run({root + "/usr/sbin/pallwatch", "--help"});
    EXPECT_EQ(usage.status, 0);
    EXPECT_THAT(usage.error, HasSubstr("Pallwatch.\n"));
}

TEST_F(Install, HasAUnitAndExamplesThatStartItsDaemon) {
    const std::string daemon =
        readDirective("ExecStart", root + "/usr/lib/systemd/system/pallwatch.service");
    EXPECT_EQ(run({root + daemon, "--help"}).status, 0) << daemon;
    for (const char* example : {"examples/inittab", "examples/pallwatch.init"}) {
        EXPECT_THAT(readFile(root + "/" + kDocumentation + example), HasSubstr(daemon)) << example;
    }
}

TEST_F(InstallAsUsual, HasAUnitThatStartsTheDaemonOfItsPrefix) {
    EXPECT_THAT(readFile(root + "/usr/local/lib/systemd/system/pallwatch.service"),
                HasSubstr("\nExecStart=/usr/local/sbin/pallwatch\n"));
}

TEST(InstallOfTheDaemonAlone, BringsNothingForPeopleAtAWorkstation) {
    const TemporaryDirectory directory;
    const Result result =
        run({"env", "DESTDIR=" + directory.path(), "cmake", "--install",
             programDirectory().parent_path(), "--prefix", "/usr", "--component", "daemon"});
    ASSERT_EQ(result.status, 0) << result.error;
    EXPECT_TRUE(fs::exists(directory.path("usr/sbin/pallwatch")));
    EXPECT_FALSE(fs::exists(directory.path("usr/bin")));
}

// A build without a preset, on a machine with a compiler, asio and cJSON.
class PlainDaemon : public testing::Test {
  protected:
    void SetUp() override {
        const Result result =
            run({"env", "-u", "CXXFLAGS", "cmake", "-S", ".", "-B", directory.path(),
                 "-DBUILD_TESTING=OFF", "-DPALLWATCH_TOOLS=OFF", without("GTest"),
                 without("benchmark"), without("CLI11"), without("PkgConfig")});
        ASSERT_EQ(result.status, 0) << result.error;
        commands = readFile(directory.path("compile_commands.json"));
    }

    static std::string without(const std::string& package) {
        return "-DCMAKE_DISABLE_FIND_PACKAGE_" + package + "=ON";
    }

    // How the commands name a file in that directory of the checkout.
    static std::string fileIn(const std::string& room) {
        return "\"file\": \"" + (fs::current_path() / room / "").string();
    }

    const TemporaryDirectory directory;
    std::string commands;
};

TEST_F(PlainDaemon, IsBuiltWithoutToolsAndTestsAndWhatTheyNeed) {
    EXPECT_THAT(commands, HasSubstr(fileIn("src") + "service/main.cpp"));
    for (const char* room : {"tools", "tests", "fuzz", "bench"}) {
        EXPECT_THAT(commands, Not(HasSubstr(fileIn(room)))) << room;
    }
}

TEST_F(PlainDaemon, IsBuiltWithTheWarningsOfItsUser) {
    EXPECT_THAT(commands, Not(HasSubstr(" -W")));
}

TEST(Presets, TreatWarningsAsErrors) {
    for (const char* preset : {"default", "asan", "tsan", "clang", "coverage"}) {
        EXPECT_THAT(run({"cmake", "--preset", preset, "-N"}).output,
                    HasSubstr("PALLWATCH_WARNINGS=\"ON\""))
            << preset;
    }
}

constexpr const char* kFindAll =
    "for each in pallwatch pallctl pallbus pallframe pkill; do command -v $each; done";

// A frame stands in for the machine whose /usr/local it is.
TEST_F(InstallAsUsual, HasTheDaemonAtHandInAFrame) {
    const std::string outer =
        (programDirectory() / "pallframe").string() +
        " run -- sh -c 'mount --rbind usr/local /usr/local && exec \"$@\"' - ";
    const std::string inner =
        "/usr/local/bin/pallframe run -- sh -c '" + std::string(kFindAll) + "; pallctl --version'";
    const Result found = run({"sh", "-c", "cd " + root + " && exec " + outer + inner});
    EXPECT_EQ(found.status, 0) << found.error;
    EXPECT_EQ(found.output,
              "/usr/local/sbin/pallwatch\n/usr/local/bin/pallctl\n/usr/local/bin/pallbus\n"
              "/usr/local/sbin/pallframe\n/usr/local/sbin/pkill\n"
              "pallctl " PALLWATCH_VERSION "\n");
}

// Beside the programs, where a search alone would not look.
TEST_F(InstallAsUsual, HasTheDaemonAtHandInAFrameAlsoFromAPlaceOfItsOwn) {
    const Result found =
        run({root + "/usr/local/bin/pallframe", "run", "--", "sh", "-c", kFindAll});
    EXPECT_EQ(found.output, root + "/usr/local/sbin/pallwatch\n" + root +
                                "/usr/local/bin/pallctl\n" + root +
                                "/usr/local/bin/pallbus\n/usr/local/sbin/pallframe\n"
                                "/usr/local/sbin/pkill\n");
}

}  // namespace
