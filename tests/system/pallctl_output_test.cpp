// What pallctl does when its output cannot be written, or nobody reads it any more.

#include "harness/deadline.h"
#include "on_pallbus.h"

using harness::Result;

namespace {

std::string commandLine(const std::string& words) {
    return program("pallctl", {})[0] + ' ' + words;
}

// Begins when the reader of its output has gone for certain.
Result withoutReader(const std::string& words) {
    return harness::run({"sh", "-c",
                         "{ trap '' PIPE; while printf x 2>/dev/null; do :; done; " +
                             commandLine(words) + "; echo $? >&2; } | true"});
}

TEST_F(OnPallbus, WhatGoesOnEndsQuietlyWhenItsReaderHasGoneBefore) {
    start();
    for (const char* words : {"watch", "watch --table", "watch nosuch", "monitor"}) {
        EXPECT_EQ(withoutReader(words).error, "0\n") << words;
    }
}

TEST_F(OnPallbus, WaitFailsWhenItsReaderHasGoneBefore) {
    start();
    for (const char* words : {"wait frameName=x", "wait nosuch=1", "--json wait frameName=x"}) {
        EXPECT_EQ(withoutReader(words).error, "pallctl: standard output: the reader has gone\n1\n")
            << words;
    }
}

TEST_F(OnPallbus, WhatWaitsForABusEndsWhenItsReaderHasGone) {
    for (const char* words : {"watch", "monitor"}) {
        EXPECT_EQ(withoutReader(std::string("--wait=60 ") + words).error, "0\n") << words;
    }
    EXPECT_THAT(withoutReader("--wait=60 wait frameName=x").error,
                testing::EndsWith("the reader has gone\n1\n"));
}

TEST_F(OnPallbus, WhatGoesOnSaysThatItsOutputCannotBeWritten) {
    start();
    for (const char* words : {"watch", "watch --table", "monitor"}) {
        harness::Process going({"sh", "-c", commandLine(words) + " >/dev/full"});
        // Nothing tells when it begins to listen.
        int name = 0;
        harness::waitUntil(
            [&] {
                pallctl({"set", "systemName=" + std::to_string(++name)});
                return !going.error().text().empty();
            },
            words);
        EXPECT_EQ(going.waitForEnd(), 1) << words;
        EXPECT_EQ(going.error().waitForEnd(),
                  "pallctl: standard output: No space left on device\n");
    }
}

TEST_F(OnPallbus, WhatIsPrintedOnceSaysThatItsOutputCannotBeWritten) {
    start();
    const std::string longest = pallctl({"describe"}).output;
    ASSERT_GT(longest.size(), 4096u) << "it does not fit what stdio keeps back";
    for (const char* words : {"get systemName", "list", "describe", "--json describe"}) {
        const Result result = harness::run({"sh", "-c", commandLine(words) + " >/dev/full"});
        EXPECT_EQ(result.status, 1) << words;
        EXPECT_EQ(result.error, "pallctl: standard output: No space left on device\n") << words;
        EXPECT_EQ(withoutReader(words).error, "0\n") << words;
    }
}

// The connection to the bus would be the first to take its place.
TEST_F(OnPallbus, AnOutputThatIsClosedIsNotTakenForOneWithoutReader) {
    start();
    for (const char* words : {"list", "--json set systemName=B", "--json wait active=1",
                              "monitor --record /dev/full", "watch --table"}) {
        const Result result = harness::run({"sh", "-c", commandLine(words) + " >&-"});
        EXPECT_EQ(result.status, 1) << words;
        EXPECT_THAT(result.error, isOneComplaint("pallctl")) << words;
    }
    const std::string wait = commandLine("wait systemName=C --timeout=0.1");
    EXPECT_EQ(harness::run({"sh", "-c", wait + " >&-"}).status, 9);
    EXPECT_EQ(harness::run({"sh", "-c", wait + " <&- >&- 2>&-"}).status, 9);
}

TEST_F(OnPallbus, AnInputThatIsClosedConfirmsNothing) {
    start();
    const std::string before = pallctl({"get", "gateway"}).output;
    const Result result = harness::run(
        {"sh", "-c", commandLine("network --gateway 10.0.0.77 --confirm-within 2m") + " <&-"});
    EXPECT_EQ(result.status, 7);
    EXPECT_EQ(pallctl({"get", "gateway"}).output, before);
}

TEST_F(OnPallbus, ANetworkThatCannotBeShownIsNotChanged) {
    start();
    const std::string before = pallctl({"get", "gateway"}).output;
    const Result result =
        harness::run({"sh", "-c", commandLine("network --gateway 10.0.0.77") + " >/dev/full"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.error, "pallctl: standard output: No space left on device\n");
    EXPECT_EQ(pallctl({"get", "gateway"}).output, before);
}

TEST_F(OnPallbus, ASetIsCarriedOutAlsoWhenNobodyReadsItsOutput) {
    start();
    EXPECT_EQ(withoutReader("set systemName=B").error, "0\n");
    EXPECT_EQ(pallctl({"get", "systemName"}).output, "B\n");
}

}  // namespace
