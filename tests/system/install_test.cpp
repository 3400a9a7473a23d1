// What `cmake --install` leaves on a machine.

#include "pallframe_process.h"

using namespace outside;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

constexpr const char* kDocumentation = "usr/share/doc/pallwatch/";

class Install : public testing::Test {
  protected:
    void SetUp() override {
        const Result result = run({"env", "DESTDIR=" + root, "cmake", "--install",
                                   programDirectory().parent_path(), "--prefix", "/usr"});
        ASSERT_EQ(result.status, 0) << result.error;
    }

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

    const TemporaryDirectory directory;
    const std::string root = directory.path("root");
};

TEST_F(Install, PutsProgramsPagesAndCompletionInTheirPlaces) {
    EXPECT_THAT(files(),
                UnorderedElementsAre(
                    "usr/sbin/pallwatch", "usr/bin/pallbus", "usr/bin/pallctl", "usr/bin/pallframe",
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

}  // namespace
