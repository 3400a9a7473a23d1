#include "util/log.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "support/captured_log.h"

namespace util {

namespace {

using Lines = std::vector<CapturedLog::Line>;

TEST(LogMessage, GivesTheSinkPriorityAndText) {
    CapturedLog log;
    logMessage(LOG_INFO, "%s = %d\n", "answer", 42);
    EXPECT_EQ(log.lines(), (Lines{{LOG_INFO, "answer = 42\n"}}));
}

TEST(LogMessage, HandsTheFacilityOnWithThePriority) {
    CapturedLog log;
    logMessage(LOG_USER | LOG_CRIT, "lost\n");
    EXPECT_EQ(log.lines(), (Lines{{8 + 2, "lost\n"}}));
}

TEST(LogMessage, WritesTheErrorTextForPercentM) {
    CapturedLog log;
    errno = ENOENT;
    logMessage(LOG_ERR, "no file: %m\n");
    EXPECT_EQ(log.lines(), (Lines{{LOG_ERR, "no file: No such file or directory\n"}}));
}

TEST(LogMessage, LeavesErrnoAsItWas) {
    const LogSink previous = replaceLogSink([](int, const std::string&) { errno = EPERM; });
    errno = ENOSPC;
    logMessage(LOG_INFO, "text\n");
    EXPECT_EQ(errno, ENOSPC);
    replaceLogSink(previous);
}

TEST(LogMessage, LeavesErrnoAsItWasWithTheSystemLog) {
    const LogSink previous = replaceLogSink(nullptr);
    errno = ENOSPC;
    logMessage(LOG_DEBUG, "text of a test\n");
    EXPECT_EQ(errno, ENOSPC);
    replaceLogSink(previous);
}

TEST(LogMessage, TakesLongAndEmptyTexts) {
    CapturedLog log;
    const std::string longText(100000, 'x');
    logMessage(LOG_INFO, "%s", longText.c_str());
    logMessage(LOG_INFO, "%s", "");
    EXPECT_EQ(log.lines(), (Lines{{LOG_INFO, longText}, {LOG_INFO, ""}}));
}

TEST(LogMessage, DoesNotReadAnArgumentAsAFormat) {
    CapturedLog log;
    logMessage(LOG_INFO, "%s", "%s%n%m");
    EXPECT_EQ(log.lines(), (Lines{{LOG_INFO, "%s%n%m"}}));
}

TEST(ReplaceLogSink, GivesThePreviousSinkBack) {
    CapturedLog outer;
    {
        CapturedLog inner;
        logMessage(LOG_INFO, "inner");
        EXPECT_EQ(inner.lines(), (Lines{{LOG_INFO, "inner"}}));
    }
    logMessage(LOG_INFO, "outer");
    EXPECT_EQ(outer.lines(), (Lines{{LOG_INFO, "outer"}}));
}

}  // namespace

}  // namespace util
