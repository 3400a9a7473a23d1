// What `cmake --install` leaves on a machine.

#include "pallframe_process.h"
#include "text_parts.h"
#include "unit_directives.h"

using namespace outside;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* kDocumentation = "usr/share/doc/pallwatch/";

// The line of a page that begins with this text, with another build directory than the page has.
std::string commandOn(const std::string& page, const std::string& beginning,
                      const std::string& pageBuild, const std::string& build) {
    for (std::string line : linesOf(readFile(page))) {
        if (line.compare(0, beginning.size(), beginning) == 0) {
            return line.replace(line.find(pageBuild), pageBuild.size(), build);
        }
    }
    return "echo 'not on " + page + "' >&2; exit 1";
}

// Installs this build below a directory, with options or as README says.
class InstallWith : public testing::Test {
  protected:
    explicit InstallWith(std::string options) : options_(std::move(options)) {}

    void SetUp() override {
        const std::string install =
            commandOn("README.md", "cmake --install", "build/default", builds());
        const Result result = run({"env", "DESTDIR=" + root, "sh", "-c", install + options_});
        ASSERT_EQ(result.status, 0) << result.error;
    }

    static std::string builds() { return programDirectory().parent_path(); }

    const TemporaryDirectory directory;
    const std::string root = directory.path("root");

  private:
    const std::string options_;
};

class Install : public InstallWith {
  protected:
    Install() : InstallWith(" --prefix /usr") {}

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

// Below /usr/local.
class InstallAsUsual : public InstallWith {
  protected:
    InstallAsUsual() : InstallWith("") {}
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

class InstallOfTheDaemonAlone : public InstallWith {
  protected:
    InstallOfTheDaemonAlone() : InstallWith(" --prefix /usr --component daemon") {}
};

TEST_F(InstallOfTheDaemonAlone, BringsNothingForPeopleAtAWorkstation) {
    EXPECT_TRUE(fs::exists(root + "/usr/sbin/pallwatch"));
    EXPECT_FALSE(fs::exists(root + "/usr/bin"));
}

constexpr const char* kConfigure = "cmake -S . -B build/alone ";

// README's build without a preset, on a machine with a compiler, asio and cJSON.
class PlainDaemon : public testing::Test {
  protected:
    void SetUp() override {
        const std::string configure =
            commandOn("README.md", kConfigure, "build/alone", directory.path());
        const Result result = run({"env", "-u", "CXXFLAGS", "sh", "-c",
                                   configure + without("GTest") + without("benchmark") +
                                       without("CLI11") + without("PkgConfig")});
        ASSERT_EQ(result.status, 0) << result.error;
        commands = readFile(directory.path("compile_commands.json"));
    }

    static std::string without(const std::string& package) {
        return " -DCMAKE_DISABLE_FIND_PACKAGE_" + package + "=ON";
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

// `./dev check` runs the commands of the page on installation.
TEST(BuildOfTheDaemonAlone, IsTheSameInReadmeAndOnThePageOnInstallation) {
    for (const char* beginning : {kConfigure, "cmake --build build/alone"}) {
        EXPECT_EQ(commandOn("README.md", beginning, "build", "build"),
                  commandOn("doc/installation.md", beginning, "build", "build"));
    }
}

TEST(Presets, TreatWarningsAsErrors) {
    for (const char* preset : {"default", "asan", "tsan", "clang", "coverage", "armhf", "arm64"}) {
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
