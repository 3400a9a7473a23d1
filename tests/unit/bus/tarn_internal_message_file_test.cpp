#include <unistd.h>

#include <cerrno>
#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "bus/messages.h"
#include "payloads.h"
#include "support/captured_log.h"
#include "support/temporary_directory.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Line = CapturedLog::Line;

constexpr const char* kPayload = "[\"SET\", \"system\", 1, 0, 0]\n{\"id\":\"3@h\"}";

class MessageFileTest : public ::testing::Test {
  protected:
    static TarnInternalMessage scheduled(const lumo::ScheduledTime& time) {
        TarnInternalMessage message = received(kPayload);
        message.header().scheduled = time;
        return message;
    }

    TemporaryDirectory directory_;
    CapturedLog log_;
};

TEST_F(MessageFileTest, SaveWritesThePayloadIntoAFileOfTheScheduledTime) {
    TarnInternalMessage message = scheduled({1'800'000'000, 5});
    message.save(directory_.path());
    EXPECT_EQ(message.filePath(), directory_.path("18000000005"));
    EXPECT_EQ(directory_.read("18000000005"),
              "[\"SET\", \"system\", 1, 0, \"datehere\"]\n{\"id\":\"3@h\"}");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MessageFileTest, NanosecondsAreNotFilledWithZeros) {
    TarnInternalMessage five = scheduled({1'800'000'000, 5});
    TarnInternalMessage fifty = scheduled({1'800'000'000, 50});
    five.save(directory_.path());
    fifty.save(directory_.path());
    EXPECT_EQ(five.filePath(), directory_.path("18000000005"));
    EXPECT_EQ(fifty.filePath(), directory_.path("180000000050"));
}

TEST_F(MessageFileTest, TwoTimesMayShareAName) {
    TarnInternalMessage first = scheduled({1, 23});
    TarnInternalMessage second = scheduled({12, 3});
    first.save(directory_.path());
    second.save(directory_.path());
    EXPECT_EQ(first.filePath(), second.filePath());
}

TEST_F(MessageFileTest, AMessageThatIsNotScheduledIsSavedUnderZeros) {
    TarnInternalMessage message = received(kPayload);
    message.save(directory_.path());
    EXPECT_EQ(directory_.read("00"), kPayload);
}

TEST_F(MessageFileTest, SaveReplacesALongerFile) {
    directory_.write("00", std::string(1000, 'x'));
    TarnInternalMessage message = received(kPayload);
    message.save(directory_.path());
    EXPECT_EQ(directory_.read("00"), kPayload);
}

TEST_F(MessageFileTest, SaveWithoutDirectoryIsLoggedAndNothingElseHappens) {
    TarnInternalMessage message = received(kPayload);
    message.save(directory_.path("missing"));
    EXPECT_THAT(log_.lines(),
                ElementsAre(Line{LOG_ERR, "Error - couldn't open file " +
                                              directory_.path("missing/00") + " for writing\n"}));
    EXPECT_EQ(message.filePath(), "");
}

TEST_F(MessageFileTest, AFullDiskIsLogged) {
    ASSERT_EQ(symlink("/dev/full", directory_.path("00").c_str()), 0);
    TarnInternalMessage message = received(kPayload);
    message.save(directory_.path());
    EXPECT_THAT(log_.lines(),
                ElementsAre(Line{LOG_ERR, "Error - couldn't write file " + directory_.path("00") +
                                              ": No space left on device\n"}));
}

TEST_F(MessageFileTest, LoadGivesTheSavedMessage) {
    const std::string path = directory_.write("message", kPayload);
    TarnInternalMessage message;
    EXPECT_TRUE(message.load(path));
    EXPECT_EQ(message.filePath(), path);
    EXPECT_EQ(message.type(), MessageType::SET);
    EXPECT_EQ(message.uniqueId(), "3@h");
    EXPECT_EQ(message.encode(), kPayload);
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MessageFileTest, LoadReplacesWhatTheMessageWas) {
    TarnInternalMessage message = receivedData("{\"id\":\"old\"}");
    message.uniqueId();
    EXPECT_TRUE(message.load(directory_.write("message", kPayload)));
    EXPECT_EQ(message.uniqueId(), "3@h");
}

TEST_F(MessageFileTest, AReloadedMessageIsUnscheduled) {
    TarnInternalMessage message = scheduled({4'000'000'000, 0});
    message.save(directory_.path());
    TarnInternalMessage again;
    EXPECT_TRUE(again.load(message.filePath()));
    EXPECT_FALSE(again.header().scheduled.isScheduled());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MessageFileTest, LoadOfAMissingFileIsLogged) {
    TarnInternalMessage message;
    EXPECT_FALSE(message.load(directory_.path("missing")));
    EXPECT_THAT(
        log_.lines(),
        ElementsAre(Line{LOG_WARNING, "TarnInternalMessage could not open \"" +
                                          directory_.path("missing") + "\". Empty set used.\n"}));
}

TEST_F(MessageFileTest, LoadWithoutMemoryIsLogged) {
    const std::string path = directory_.write("message", kPayload + std::string(100'000, ' '));
    TarnInternalMessage message;
    {
        const RefusedAllocations refused(100'000);
        EXPECT_FALSE(message.load(path));
    }
    EXPECT_THAT(log_.lines(),
                ElementsAre(Line{LOG_CRIT, "Memory error loading " + path +
                                               " from disk: Cannot allocate memory\n"}));
}

TEST_F(MessageFileTest, LoadOfAFileWithoutEndIsLogged) {
    int ends[2] = {};
    ASSERT_EQ(pipe(ends), 0);
    const std::string path = "/proc/self/fd/" + std::to_string(ends[0]);
    TarnInternalMessage message;
    EXPECT_FALSE(message.load(path));
    close(ends[0]);
    close(ends[1]);
    EXPECT_THAT(log_.lines(), ElementsAre(Line{LOG_CRIT, "Reading error loading " + path +
                                                             " from disk: Illegal seek\n"}));
}

// The kernel gives its own small files a size of 4096 bytes, whatever they hold.
TEST_F(MessageFileTest, LoadOfAFileThatEndsTooSoonIsLogged) {
    const std::string path = "/sys/class/net/lo/address";
    if (access(path.c_str(), R_OK) != 0) {
        GTEST_SKIP() << "no " << path;
    }
    TarnInternalMessage message;
    errno = EIO;
    EXPECT_FALSE(message.load(path));
    EXPECT_THAT(log_.lines(), ElementsAre(Line{LOG_CRIT, "Reading error loading " + path +
                                                             " from disk: Success\n"}));
}

TEST_F(MessageFileTest, LoadOfAnythingButAMessageIsLoggedAndLeavesTheMessage) {
    const std::string path = directory_.write("message", "[\"FOO\", \"system\", 1, 0, 0]\n{}");
    TarnInternalMessage message = received(kPayload);
    EXPECT_FALSE(message.load(path));
    EXPECT_THAT(log_.lines(), ElementsAre(Line{LOG_INFO,
                                               "TarnInternalMessage header decode error:"
                                               "[\"FOO\", \"system\", 1, 0, 0]\n"},
                                          Line{LOG_INFO, "Error reading msg from disk.\n"}));
    EXPECT_EQ(message.encode(), kPayload);
    EXPECT_EQ(message.filePath(), "");
}

TEST_F(MessageFileTest, LoadOfAnEmptyFileIsLogged) {
    TarnInternalMessage message;
    EXPECT_FALSE(message.load(directory_.write("message", "")));
    EXPECT_THAT(log_.lines(), ElementsAre(Line{LOG_INFO, "TarnInternalMessage Header not found:\n"},
                                          Line{LOG_INFO, "Error reading msg from disk.\n"}));
}

TEST_F(MessageFileTest, RemoveDeletesTheFile) {
    TarnInternalMessage message = received(kPayload);
    message.save(directory_.path());
    EXPECT_TRUE(message.remove());
    EXPECT_FALSE(directory_.holds("00"));
}

TEST_F(MessageFileTest, RemoveWithoutFileTouchesNothing) {
    TarnInternalMessage message = received(kPayload);
    EXPECT_FALSE(message.remove());
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(MessageFileTest, RemoveOfAFileThatIsGoneIsLogged) {
    TarnInternalMessage message = received(kPayload);
    message.save(directory_.path());
    ASSERT_TRUE(message.remove());
    EXPECT_FALSE(message.remove());
    EXPECT_THAT(log_.lines(), ElementsAre(Line{LOG_ERR, "Error - couldn't remove file " +
                                                            directory_.path("00") + "\n"}));
}

TEST_F(MessageFileTest, ThePathMovesWithTheMessage) {
    TarnInternalMessage from = received(kPayload);
    from.save(directory_.path());
    TarnInternalMessage to(std::move(from));
    EXPECT_FALSE(from.remove());
    EXPECT_TRUE(to.remove());
}

}  // namespace
