// A file that can be opened but not read, or does not fit into memory, ends the process.

#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "sample_container.h"
#include "support/exhausted_memory.h"
#include "support/file_calls.h"
#include "support/temporary_directory.h"
#include "util/log.h"

namespace model {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// As without a sanitizer: no memory is a null pointer. The sanitizer asks before it can watch
// anything, the functions that it asks included.
#define PALLWATCH_UNWATCHED __attribute__((no_sanitize("address", "thread")))
extern "C" PALLWATCH_UNWATCHED const char* __asan_default_options() {
    return "allocator_may_return_null=1";
}
extern "C" PALLWATCH_UNWATCHED const char* __tsan_default_options() {
    return __asan_default_options();
}
#endif

namespace {

// For the process that is to end.
void logToStandardError() {
    util::replaceLogSink([](int priority, const std::string& text) {
        std::fprintf(stderr, "<%d> %s", priority, text.c_str());
    });
}

void limitMemory() {
    std::ifstream status("/proc/self/statm");
    rlim_t pages = 0;
    status >> pages;
    const rlim_t bytes = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + 5'000'000;
    const rlimit limited{bytes, bytes};
    setrlimit(RLIMIT_AS, &limited);
}

FileCallWatch::Before failing(const std::string& verb, int errorNumber) {
    return [=](const FileCall& call) -> std::optional<FileAnswer> {
        return call.verb == verb ? std::optional<FileAnswer>({-1, errorNumber}) : std::nullopt;
    };
}

class UnreadableFileDeathTest : public testing::Test {
  protected:
    std::string expectedText(const std::string& failure, const std::string& reason) const {
        return "<2> " + failure + " error loading " + container_.path() + " from disk: " + reason;
    }

    TemporaryDirectory directory_;
    SampleContainer container_{directory_.path("file")};
};

// The files of the kernel's settings call themselves one page long and hold a line.
TEST_F(UnreadableFileDeathTest, ShortReadEndsTheProcess) {
    const std::filesystem::path shorter = "/sys/class/net/lo/mtu";
    if (!std::filesystem::exists(shorter)) {
        GTEST_SKIP() << "no file whose size lies: " << shorter << " is missing";
    }
    std::filesystem::create_symlink(shorter, container_.path());
    const auto load = [&] {
        logToStandardError();
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT), expectedText("Reading", "Success\n"));
}

TEST_F(UnreadableFileDeathTest, ShortReadOfTheOldFileEndsTheProcessToo) {
    const std::filesystem::path shorter = "/sys/class/net/lo/mtu";
    if (!std::filesystem::exists(shorter)) {
        GTEST_SKIP() << "no file whose size lies: " << shorter << " is missing";
    }
    std::filesystem::create_symlink(shorter, container_.path() + ".old");
    const auto load = [&] {
        logToStandardError();
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT), expectedText("Reading", "Success\n"));
}

TEST_F(UnreadableFileDeathTest, ReadThatFailsEndsTheProcess) {
    directory_.write("file.json", sampleFile("text"));
    const auto load = [&] {
        logToStandardError();
        const FileCallWatch watch(failing("read", EIO));
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT),
                expectedText("Reading", "Input/output error\n"));
}

TEST_F(UnreadableFileDeathTest, FileThatDoesNotFitIntoMemoryEndsTheProcess) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's operator new ends the process where the library's throws";
#endif
    directory_.write("file.json", std::string(15'000'000, ' '));
    const auto load = [&] {
        logToStandardError();
        limitMemory();
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT),
                expectedText("Memory", "Cannot allocate memory\n"));
}

// The text is short; what it stands for takes more.
TEST_F(UnreadableFileDeathTest, JSONThatDoesNotFitIntoMemoryEndsTheProcess) {
    directory_.write("file.json", sampleFile(std::string(5000, 'x')));
    const auto load = [&] {
        logToStandardError();
        const ExhaustedMemory small(5000);
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT),
                expectedText("Memory", "Cannot allocate memory\n"));
}

TEST_F(UnreadableFileDeathTest, EveryAllocationThatFailsWhileParsingEndsTheProcess) {
    directory_.write("file.json", sampleFile("text"));
    const auto load = [&](unsigned long before) {
        logToStandardError();
        const OneFailedAllocation failure(before);
        container_.load();
    };
    // The root, the two members with their names, the text's object, its member and its text.
    for (unsigned long before = 0; before < 8; ++before) {
        EXPECT_EXIT(load(before), testing::KilledBySignal(SIGABRT), "Memory error loading ");
    }
}

// A container that finds no memory for what it reads.
class ForgetfulContainer : public SampleContainer {
  public:
    using SampleContainer::SampleContainer;
    int fromJSON(const cJSON*) override {
        const ExhaustedMemory none(0);
        util::jsonNull();
        return 0;
    }
};

TEST_F(UnreadableFileDeathTest, PayloadThatDoesNotFitIntoMemoryEndsTheProcess) {
    directory_.write("file.json", sampleFile("text"));
    ForgetfulContainer container(directory_.path("file"));
    const auto load = [&] {
        logToStandardError();
        container.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT), "Memory error loading ");
}

}  // namespace

}  // namespace model
