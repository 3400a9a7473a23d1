// What ./dev says to a person, with stand-ins for the programs that it calls.

#include <unistd.h>

#include "pallframe_process.h"

using namespace harness;
using namespace outside;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

// A checkout in which nothing was built.
class Dev : public testing::Test {
  protected:
    Dev() {
        fs::create_directory(directory.path("tools"));
        fs::copy_file("dev", directory.path("dev"));
        fs::copy("tools/dev", directory.path("tools/dev"));
        fs::create_directory(directory.path("doc"));
        fs::copy_file("doc/installation.md", directory.path("doc/installation.md"));
        standIn("dpkg-query", "echo install ok installed");
        standIn("man", "echo page of $1");
        ::unsetenv("CI");
    }

    void standIn(const std::string& program, const std::string& script) const {
        fs::create_directories(fs::path(directory.path(program)).parent_path());
        const std::string path = directory.write(program, "#!/bin/sh\n" + script + "\n");
        fs::permissions(path, fs::perms(0755));
    }

    Words command(const Words& words, const std::string& searchPath) const {
        Words all{"env", "PATH=" + directory.path() + ":" + searchPath, directory.path("dev")};
        all.insert(all.end(), words.begin(), words.end());
        return all;
    }

    Result dev(const Words& words) const { return run(command(words, std::getenv("PATH"))); }

    // The same for a user without any privilege, who may write to the checkout. Only root can
    // become one, others are one already.
    Result devAsOrdinaryUser(const Words& words, const std::string& searchPath) const {
        fs::permissions(directory.path(), fs::perms(0777));
        Words all = command(words, searchPath);
        if (::geteuid() == 0) {
            const Words drop{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
            all.insert(all.begin(), drop.begin(), drop.end());
        }
        return run(all);
    }

    // A directory with links to every program of this machine but sudo.
    std::string programsWithoutSudo() const {
        const fs::path programs = directory.path("programs");
        fs::create_directory(programs);
        for (const auto& entry : fs::directory_iterator("/usr/bin")) {
            if (entry.path().filename() != "sudo") {
                fs::create_symlink(entry.path(), programs / entry.path().filename());
            }
        }
        return programs;
    }

    // No package is installed. apt-get writes its arguments to a file, and prints what it prints
    // when it installs.
    void installs() const {
        standIn("dpkg-query", "exit 1");
        standIn("sudo", "exec \"$@\"");
        standIn("apt-get", "echo $* >>" + directory.path("apt-get.log") + R"(
case "$*" in *install*)
  echo 'Reading package lists...'
  echo '0 upgraded, 73 newly installed, 0 to remove and 0 not upgraded.'
  echo 'Need to get 89.1 MB of archives.'
  echo 'After this operation, 358 MB of additional disk space will be used.'
  echo 'dlstatus:1:12.5:Retrieving file 1 of 73'
  echo 'dlstatus:2:25.0:Retrieving file 2 of 73'
  echo 'pmstatus:gcc:50.0:Unpacking gcc'
esac)");
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
        {{"man"}, "man needs a name; choose from pallctl, pallframe, pallbus, pallwatch"},
        {{"man", "nosuch"},
         "unknown page 'nosuch'; choose from pallctl, pallframe, pallbus, pallwatch"},
        {{"man", "pallctl", "pallbus"}, "man takes one name, not also 'pallbus'"},
        {{"fuzz", "--seconds"}, "fuzz --seconds needs a number"},
        {{"fuzz", "--seconds", "long"}, "fuzz --seconds needs a number"},
        {{"fuzz", "requests"}, "fuzz knows --seconds N, not 'requests'"},
        {{"fuzz", "--seconds", "5", "requests"}, "fuzz knows --seconds N, not 'requests'"},
        {{"test", "--arch"}, "test --arch needs a name"},
        {{"test", "--arch", "sparc"}, "no emulation of 'sparc'; choose from armhf, arm64"},
        {{"bench", "fast"}, "bench takes nothing, not 'fast'"},
        {{"lint", "src"}, "lint knows --recent, not 'src'"},
        {{"lint", "--recent", "src"}, "lint knows --recent, not '--recent src'"},
        {{"check", "src"}, "check knows --short, not 'src'"},
        {{"coverage", "src"}, "coverage takes nothing, not 'src'"},
        {{"test", "--fast"},
         "test: invalid argument '--fast'; ./dev test --help lists the valid ones"},
        {{"test", "--daemon", "-R"}, "test -R needs a value"},
        {{"test", "--arch", "armhf", "fast"},
         "test: invalid argument 'fast'; ./dev test --help lists the valid ones"},
        {{"shell", "--bogus"}, "shell knows FRAME and -- COMMAND, not '--bogus'"},
        {{"shell", "4711", "ls"}, "shell takes one frame, and a command only after --, not 'ls'"},
        {{"soak", "--minutes", "long"}, "soak --minutes needs a number"},
        {{"soak", "--hours", "1"},
         "soak: invalid argument '--hours'; ./dev soak --help lists the valid ones"},
        {{"prove", "--short", "5"},
         "prove: invalid argument '5'; ./dev prove --help lists the valid ones"},
    };
    for (const auto& [words, complaint] : misuses) {
        const Result result = dev(words);
        EXPECT_EQ(result.status, 2) << complaint;
        EXPECT_EQ(result.output, "") << complaint;
        EXPECT_EQ(result.error, "dev: " + complaint + "\n");
    }
}

TEST_F(Dev, CheckInContinuousIntegrationNeedsRootForTestsAsBothUsers) {
    ::setenv("CI", "true", 1);
    const Result result = devAsOrdinaryUser({"check", "--short"}, std::getenv("PATH"));
    ::unsetenv("CI");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error,
              "dev: continuous integration must run check as root, to test as root and as an "
              "ordinary user\n");
}

TEST_F(Dev, CheckEndsWithTheFirstStepThatFails) {
    standIn("cmake", "echo broken; exit 3");
    const Result result = dev({"check"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.error, "broken\n");
}

// What the daemon is in these tests.
constexpr const char* kInstallDaemon = R"(if [ -n "$DESTDIR" ]; then
  mkdir -p "$DESTDIR/usr/sbin"
  cp /bin/true "$DESTDIR/usr/sbin/pallwatch"
fi
)";

// The directory has no history, so nothing is recent and clang-tidy has nothing to do.
TEST_F(Dev, ShortCheckTestsEverythingAndTheDaemonAgainUnderSanitizersAndOnArm) {
    standIn("cmake", std::string(kInstallDaemon) + "echo cmake $*");
    standIn("ctest", "echo ctest $2 $5 $6 >>started");  // without the number of processors
    standIn("tests/system/as-ordinary-user", "echo as user $1 $3 $6 $7 >>started");
    standIn("clang-format", "echo clang-format >>started");
    standIn("clang-tidy", "exit 1");
    standIn("sudo", "exec \"$@\"");
    fs::create_directories(directory.path("tests/emulated"));
    for (const std::string program : {"build-and-test", "system"}) {
        standIn("tests/emulated/" + program, "echo " + program + " $1 $2 >>started");
    }
    standIn("build/emulated/armhf/root/pallwatch", "exit 1");
    const Result result = dev({"check", "--short"});
    EXPECT_EQ(result.status, 0) << result.error;
    EXPECT_THAT(result.error, HasSubstr("cmake -S . -B build/alone -DCMAKE_BUILD_TYPE=Release"));
    EXPECT_THAT(result.error, HasSubstr("cmake --install build/alone --prefix /usr"));
    const std::string asUser = ::geteuid() == 0 ? "as user ctest default -L unit|system\n" : "";
    const std::string daemon = " -R ^(util|model|bus|systemstate|service)/\n";
    EXPECT_EQ(readFile(directory.path("started")),
              "ctest default\n" + asUser + "clang-format\nctest asan" + daemon + "ctest tsan" +
                  daemon + "build-and-test armhf daemon\nsystem armhf -j\n");
}

TEST_F(Dev, TestsThatLeaveFilesFail) {
    standIn("cmake", "mkdir -p build/coverage");
    standIn("ctest", "touch \"$TMPDIR/left\"");
    for (const char* command : {"test", "coverage"}) {
        const Result result = dev({command});
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.error, "dev: the tests left in the temporary directory: left\n");
    }
    standIn("ctest", "touch \"$TMPDIR/left\"; rm \"$TMPDIR/left\"");
    EXPECT_EQ(dev({"test"}).status, 0);
}

TEST_F(Dev, TestsThatFailKeepTheirStatus) {
    standIn("cmake", "exit 0");
    standIn("ctest", "touch \"$TMPDIR/left\"; exit 8");
    EXPECT_EQ(dev({"test"}).status, 8);
}

// Below a directory that others cannot enter, as a temporary one is.
TEST(AsOrdinaryUser, ACommandSeesACopyOfTheCheckout) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "needs root";
    }
    const TemporaryDirectory directory;
    directory.write("file", "as before");
    const auto asOrdinaryUser = [&](const std::string& script) {
        return run({"env", "-C", directory.path(), fs::absolute("tests/system/as-ordinary-user"),
                    "sh", "-c", script});
    };
    const Result result = asOrdinaryUser("id -un; pwd; cat file; echo changed >file; rm $(mktemp)");
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output, "nobody\n" + directory.path() + "\nas before");
    EXPECT_EQ(directory.read("file"), "as before");
    EXPECT_EQ(asOrdinaryUser("exit 7").status, 7);
}

TEST_F(Dev, CheckFailsWhenTheFormatIsWrong) {
    standIn("cmake", kInstallDaemon);
    standIn("ctest", "exit 0");
    standIn("clang-format", "echo bad; exit 1");
    const Result result = dev({"check", "--short"});
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.error, Not(HasSubstr("lint --recent took")));
}

// In the words of pallframe, which knows the products and is not built yet.
TEST_F(Dev, RunRefusesAnUnknownProductBeforeTheBuild) {
    standIn("cmake", "echo built >&2");
    const Result result = dev({"run", "--product", "Foo"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.error, StartsWith("dev: unknown product 'Foo'; choose from "));
    const std::string complaint = result.error.substr(5, result.error.find('\n') - 5);
    EXPECT_EQ(run(pallframeCommand({"run", "--product", "Foo", "--", "true"})).error,
              "pallframe: --product: " + complaint + " (--help tells more)\n");
}

TEST_F(Dev, RunTakesAProductWhateverItsCapitals) {
    standIn("cmake", "echo built; exit 3");
    EXPECT_THAT(dev({"run", "--product", "keli"}).error, EndsWith(" processors\nbuilt\n"));
}

TEST_F(Dev, HelpOfAVerbIsWhatTheWholeHelpSaysOfIt) {
    const std::string all = dev({"--help"}).output;
    for (const char* verb : {"run", "shell", "man", "test", "bench", "lint", "check", "coverage",
                             "fuzz", "soak", "prove", "package"}) {
        const Result result = dev({verb, "--help"});
        EXPECT_EQ(result.status, 0) << verb;
        EXPECT_EQ(result.error, "") << verb;
        EXPECT_THAT(result.output, StartsWith(std::string("  ./dev ") + verb + " "));
        EXPECT_THAT(all, HasSubstr(result.output));
        EXPECT_EQ(result.output.find("\n  ./dev"), std::string::npos) << result.output;
    }
}

TEST_F(Dev, HelpMayFollowOtherOptions) {
    standIn("dpkg-query", "exit 1");
    const Result result = dev({"test", "--asan", "-R", "State", "--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.output, dev({"test", "--help"}).output);
}

// Words after -- belong to the command in the frame. Nothing is built, so shell gives its reason.
TEST_F(Dev, HelpOfACommandInTheFrameIsNotItsOwn) {
    EXPECT_EQ(dev({"shell", "--", "ls", "--help"}).status, 2);
}

TEST_F(Dev, HelpFits80Columns) {
    std::istringstream help(dev({}).output);
    for (std::string line; std::getline(help, line);) {
        EXPECT_LE(line.size(), 80u) << line;
    }
}

TEST_F(Dev, HelpNamesTheVerbsWithAHelpOfTheirOwn) {
    const std::string all = dev({}).output;
    EXPECT_THAT(all, HasSubstr("\n  ./dev soak "));
    EXPECT_THAT(all, HasSubstr("\n  ./dev prove "));
}

TEST_F(Dev, ProveBuildsBeforeItProves) {
    standIn("cmake", "echo broken; exit 3");
    const Result result = dev({"prove", "--short"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.error, "broken\n");
}

TEST_F(Dev, InsideAFrameItSaysThatItBelongsOutside) {
    ::setenv("PALLFRAME", "4711", 1);
    standIn("dpkg-query", "exit 1");
    const Result result = dev({"run"});
    const Result help = dev({});
    ::unsetenv("PALLFRAME");
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.error, "dev: you are inside frame 4711; ./dev belongs outside\n");
    EXPECT_EQ(help.status, 0);
}

TEST_F(Dev, ABuildThatFailsIsTheEnd) {
    standIn("cmake", "echo broken; exit 3");
    const Result result = dev({"run"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.error, EndsWith(" processors\nbroken\n"));
}

TEST_F(Dev, RunSaysWhatItInstallsAndHowLongTheFirstBuildTakes) {
    installs();
    standIn("cmake", "echo broken; exit 3");
    const Result result = dev({"run"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.error,
                MatchesRegex("dev: the first build takes about [0-9]+ min on [0-9]+ processors, "
                             "after the installation\n"
                             "dev: installing g\\+\\+ cmake [^\n]*\n"
                             "dev: 73 packages, 89.1 MB to download, 358 MB on the disk\n"
                             "dev: downloading\n"
                             "dev: installing\n"
                             "broken\n"));
}

TEST_F(Dev, RunShowsTheProgressOfAnInstallationOnATerminal) {
    installs();
    standIn("cmake", "exit 3");
    const Result result =
        run({"script", "-qec", "PATH=" + directory.path() + ":$PATH " + directory.path("dev run"),
             "/dev/null"});
    EXPECT_THAT(result.output, HasSubstr("\rdev: downloading:  12 %\33[K"
                                         "\rdev: downloading:  25 %\33[K"
                                         "\rdev: installing:  50 %\33[K"
                                         "\r\33[K"));
}

TEST_F(Dev, RunInstallsAndConfiguresNothingThatOnlyTestsNeed) {
    installs();
    standIn("cmake", "echo $*; exit 3");
    EXPECT_THAT(dev({"run"}).error, HasSubstr("--preset default -DBUILD_TESTING=OFF\n"));
    const std::string forRun = directory.read("apt-get.log");
    EXPECT_THAT(forRun, HasSubstr(" libcli11-dev "));
    EXPECT_THAT(dev({"test"}).error, EndsWith("--preset default\n"));
    const std::string forTest = directory.read("apt-get.log").substr(forRun.size());
    for (const char* package : {" libgtest-dev ", " man-db ", " zsh"}) {
        EXPECT_THAT(forRun, Not(HasSubstr(package)));
        EXPECT_THAT(forTest, HasSubstr(package));
    }
}

TEST_F(Dev, RunKeepsTheTestsOfABuildThatHasThem) {
    fs::create_directories(directory.path("build/default"));
    directory.write("build/default/CMakeCache.txt", "BUILD_TESTING:BOOL=ON\n");
    standIn("cmake", "echo $*; exit 3");
    EXPECT_THAT(dev({"run"}).error, Not(HasSubstr("BUILD_TESTING")));
}

TEST_F(Dev, ShowsWhyPackagesCannotBeInstalled) {
    installs();
    standIn("apt-get", "echo pmstatus:gcc:1.0:Unpacking gcc; echo no such host; exit 100");
    const Result result = dev({"run"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error,
                HasSubstr("no such host\ndev: cannot update the lists of packages; as "
                          "root: apt-get install --no-install-recommends g++ "));
}

TEST_F(Dev, WithoutSudoItNamesThePackagesInOneLine) {
    standIn("dpkg-query", "exit 1");
    const Result result = devAsOrdinaryUser({"run"}, programsWithoutSudo());
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error,
                MatchesRegex("dev: packages are missing; install them as root: "
                             "apt-get install --no-install-recommends g\\+\\+ [^\n]*\n"));
}

TEST_F(Dev, CommandsThatNeedRootNameThemselvesWithoutSudo) {
    standIn("dpkg", "echo amd64");
    const std::string programs = programsWithoutSudo();
    for (const Words& words : {Words{"package", "--arch", "armhf", "--test"},
                               Words{"test", "--arch", "armhf", "--daemon"}}) {
        const Result result = devAsOrdinaryUser(words, programs);
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.error,
                  "dev: this needs root, and there is no sudo; run this as root: ./dev " +
                      words[0] + " " + words[1] + " " + words[2] + " " + words[3] + "\n");
    }
}

TEST_F(Dev, ShellNeedsNoPackageThatCannotBeInstalled) {
    standIn("dpkg-query", "exit 1");
    fs::create_directories(directory.path("build/default/bin"));
    standIn("build/default/bin/pallframe", "echo $*");
    const Result result = devAsOrdinaryUser({"shell", "--", "ls"}, programsWithoutSudo());
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, MatchesRegex("enter -- tools/pallframe/shell .* ls\n"));
}

TEST_F(Dev, InACheckoutThatItCannotWriteToItSaysSoInOneLineAndInstallsNothing) {
    standIn("dpkg-query", "exit 1");
    standIn("sudo", "echo installed >&2");
    standIn("cmake", "echo built >&2");
    fs::create_directory(directory.path("build"));
    directory.write("build/lock", "");
    fs::permissions(directory.path("build/lock"), fs::perms(0444));
    fs::permissions(directory.path("build"), fs::perms(0555));
    for (const Words& words :
         {Words{"run"}, Words{"man", "pallctl"}, Words{"test"}, Words{"test", "--arch", "armhf"},
          Words{"bench"}, Words{"lint"}, Words{"coverage"}, Words{"fuzz"}}) {
        const Result result = devAsOrdinaryUser(words, std::getenv("PATH"));
        EXPECT_EQ(result.status, 1);
        EXPECT_THAT(result.error, MatchesRegex("dev: cannot write to " + directory.path() +
                                               "/build/lock of user [^\n]*; use a checkout of "
                                               "your own\n"));
    }
    fs::permissions(directory.path("build"), fs::perms(0755));
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
