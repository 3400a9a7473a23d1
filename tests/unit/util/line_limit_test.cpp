#include "util/line_limit.h"

#include <cerrno>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "support/captured_log.h"

namespace util {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::Each;
using testing::SizeIs;

constexpr LineLimit::TimePoint kStart(std::chrono::hours(1));

// How many of so many lines pass.
std::size_t passing(LineLimit& limit, std::size_t count, LineLimit::TimePoint now) {
    std::size_t passed = 0;
    for (std::size_t i = 0; i < count; ++i) {
        passed += limit.admit(now) ? 1U : 0U;
    }
    return passed;
}

TEST(LineLimit, AHundredPassInASecond) {
    LineLimit limit;
    EXPECT_EQ(passing(limit, 60, kStart), 60U);
    EXPECT_EQ(passing(limit, 60, kStart + milliseconds(999)), 40U);
    EXPECT_EQ(passing(limit, 60, kStart + milliseconds(1000)), 60U);
}

TEST(LineLimit, TellsOfThoseHeldBackOnceTheSecondIsOver) {
    LineLimit limit;
    passing(limit, 150, kStart);
    EXPECT_EQ(limit.takeHeldBack(kStart + milliseconds(999)), 0U);
    EXPECT_EQ(limit.takeHeldBack(kStart + seconds(1)), 50U);
    EXPECT_EQ(limit.takeHeldBack(kStart + seconds(1)), 0U);
}

TEST(LineLimit, HasNothingToTellWhenAllPassed) {
    LineLimit limit;
    EXPECT_EQ(limit.takeHeldBack(kStart), 0U);
    passing(limit, 100, kStart);
    EXPECT_EQ(limit.takeHeldBack(kStart + seconds(5)), 0U);
}

TEST(LogLimited, PassesAHundredOfEachKindAndLeavesErrno) {
    CapturedLog log;
    errno = ENOENT;
    for (int i = 0; i < 150; ++i) {
        logLimited("one kind", LOG_INFO, "one: %m\n");
        logLimited("another kind", LOG_DEBUG, "another\n");
    }
    EXPECT_EQ(errno, ENOENT);
    const std::vector<CapturedLog::Line> lines = log.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         CapturedLog::Line{LOG_INFO, "one: No such file or directory\n"}),
              100);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), CapturedLog::Line{LOG_DEBUG, "another\n"}),
              100);
}

// Waits for the clock, however long that is: the second has to be over.
TEST(LogLimited, TellsOfTheOthersWhenTheSecondIsOver) {
    CapturedLog log;
    for (int i = 0; i < 150; ++i) {
        logLimited("a kind", LOG_WARNING, "a line\n");
    }
    log.take();
    std::vector<CapturedLog::Line> told;
    while (told.empty()) {
        reportHeldBackLines();
        told = log.take();
        std::this_thread::sleep_for(milliseconds(5));
    }
    EXPECT_THAT(told, testing::ElementsAre(CapturedLog::Line{LOG_WARNING, "50 more: a kind\n"}));
    reportHeldBackLines();
    EXPECT_THAT(log.take(), testing::IsEmpty());
}

TEST(TraceErrorLimited, PassesAHundred) {
    testing::internal::CaptureStderr();
    for (int i = 0; i < 150; ++i) {
        traceErrorLimited("traces of a kind", "%s", "x");
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(100, 'x'));
}

}  // namespace

}  // namespace util
