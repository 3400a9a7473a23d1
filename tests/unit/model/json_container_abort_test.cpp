// A file that can be opened but not read ends the process.

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>

#include <gtest/gtest.h>

#include "model/log.h"
#include "sample_container.h"
#include "support/temporary_directory.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// As without a sanitizer: no memory is a null pointer, and there is less than a gigabyte of it. The
// sanitizer asks before it can watch anything, the functions that it asks included.
#define PALLWATCH_UNWATCHED __attribute__((no_sanitize("address", "thread")))
extern "C" PALLWATCH_UNWATCHED const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=1000";
}
extern "C" PALLWATCH_UNWATCHED const char* __tsan_default_options() {
    return __asan_default_options();
}
#endif

namespace {

// For the process that is to end.
void logToStandardError() {
    replaceLogSink([](int priority, const std::string& text) {
        std::fprintf(stderr, "<%d> %s", priority, text.c_str());
    });
}

void limitMemory() {
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    const rlimit gigabyte{1U << 30U, 1U << 30U};
    setrlimit(RLIMIT_AS, &gigabyte);
#endif
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

// A terminal, a pipe or the like has no size.
TEST_F(UnreadableFileDeathTest, FileWithoutSizeEndsTheProcess) {
    std::filesystem::create_symlink("/proc/self/fd/0", container_.path());
    const auto load = [&] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[0], 0) != 0) {
            return;
        }
        logToStandardError();
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT),
                expectedText("Reading", "Illegal seek\n"));
}

TEST_F(UnreadableFileDeathTest, FileThatDoesNotFitIntoMemoryEndsTheProcess) {
    directory_.write("file.json", "");
    std::filesystem::resize_file(container_.path(), 3'000'000'000);
    const auto load = [&] {
        logToStandardError();
        limitMemory();
        container_.load();
    };
    EXPECT_EXIT(load(), testing::KilledBySignal(SIGABRT),
                expectedText("Memory", "Cannot allocate memory\n"));
}

}  // namespace
