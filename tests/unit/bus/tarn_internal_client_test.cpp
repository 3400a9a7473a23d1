#include "bus/tarn_internal_client.h"

#include <unistd.h>

#include <csignal>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "support/captured_log.h"
#include "support/temporary_directory.h"

namespace {

using namespace std::string_literals;
using lumo::readHostId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Line = CapturedLog::Line;

constexpr pid_t kProcessId = 1234;

class TarnInternalClientTest : public ::testing::Test {
  protected:
    std::string hostIdOf(const std::string& text) {
        return readHostId(directory_.write("address", text), kProcessId);
    }

    std::vector<Line> terminatedWith(char last) const {
        return {{LOG_DEBUG,
                 directory_.path("address") + " terminated with'" + std::string(1, last) + "'.\n"}};
    }

    Line couldNotOpen() const {
        return {LOG_WARNING, "TarnInternalClient::primeHostID could not open saved file: " +
                                 directory_.path("address") + ". Empty mac address used.\n"};
    }

    TemporaryDirectory directory_;
    CapturedLog log_;
};

TEST_F(TarnInternalClientTest, TheHostIdIsProcessAndAddressWithoutColons) {
    EXPECT_EQ(hostIdOf("00:11:22:33:44:ff\n"), "1234.0011223344ff");
    EXPECT_EQ(log_.lines(), terminatedWith('\n'));
}

TEST_F(TarnInternalClientTest, AnAddressThatEndsInNulIsTakenAsItIs) {
    EXPECT_EQ(hostIdOf("00:11:22:33:44:ff\0"s), "1234.0011223344ff");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(TarnInternalClientTest, WhateverEndsTheFileGivesWay) {
    EXPECT_EQ(hostIdOf("00:11:22:33:44:ff"), "1234.0011223344f");
    EXPECT_EQ(log_.lines(), terminatedWith('f'));
}

TEST_F(TarnInternalClientTest, TheAddressEndsAtItsFirstNul) {
    EXPECT_EQ(hostIdOf("00:11\0:22\n"s), "1234.0011");
}

TEST_F(TarnInternalClientTest, AnEmptyFileGivesAnEmptyAddress) {
    EXPECT_EQ(hostIdOf(""), "1234.");
    EXPECT_THAT(log_.lines(), IsEmpty());
}

TEST_F(TarnInternalClientTest, AFileOfColonsGivesAnEmptyAddress) {
    EXPECT_EQ(hostIdOf(":::\n"), "1234.");
}

TEST_F(TarnInternalClientTest, ALongFileIsReadToItsEnd) {
    EXPECT_EQ(hostIdOf(std::string(5000, 'a') + "\n"), "1234." + std::string(5000, 'a'));
}

TEST_F(TarnInternalClientTest, AMissingFileLeavesTheHostIdEmpty) {
    EXPECT_EQ(readHostId(directory_.path("address"), kProcessId), "");
    EXPECT_THAT(log_.lines(), ElementsAre(couldNotOpen()));
}

TEST_F(TarnInternalClientTest, WithoutMemoryForTheAddressTheProcessEnds) {
    const std::string path = directory_.write("address", std::string(5000, 'a'));
    EXPECT_EXIT(
        {
            const RefusedAllocations refused(1000);
            readHostId(path, kProcessId);
        },
        ::testing::KilledBySignal(SIGABRT), "TarnInternalClient::primeHostID Memory error");
}

TEST_F(TarnInternalClientTest, IdsAreCounterAtHostId) {
    TarnInternalClient client(directory_.write("address", "00:11:22:33:44:ff\n"));
    const std::string host = std::to_string(getpid()) + ".0011223344ff";
    EXPECT_EQ(client.nextUniqueId(), "0@" + host);
    EXPECT_EQ(client.nextUniqueId(), "1@" + host);
}

TEST_F(TarnInternalClientTest, WithoutAnAddressFileIdsEndAtTheAt) {
    TarnInternalClient client(directory_.path("address"));
    EXPECT_EQ(client.nextUniqueId(), "0@");
    EXPECT_EQ(client.nextUniqueId(), "1@");
}

TEST_F(TarnInternalClientTest, AFailureIsNotTriedAgain) {
    TarnInternalClient client(directory_.path("address"));
    client.nextUniqueId();
    directory_.write("address", "00:11:22:33:44:ff\n");
    EXPECT_EQ(client.nextUniqueId(), "1@");
    EXPECT_THAT(log_.lines(), ElementsAre(couldNotOpen()));
}

TEST_F(TarnInternalClientTest, TheFileIsReadOnFirstUse) {
    TarnInternalClient client(directory_.path("address"));
    directory_.write("address", ":\n");
    EXPECT_EQ(client.nextUniqueId(), "0@" + std::to_string(getpid()) + ".");
}

TEST_F(TarnInternalClientTest, ThreadsNeverGetTheSameId) {
    constexpr int kIdsPerThread = 2000;
    TarnInternalClient client(directory_.path("address"));
    std::vector<std::string> ids[2];
    const auto take = [&client](std::vector<std::string>& into) {
        for (int i = 0; i < kIdsPerThread; ++i) {
            into.push_back(client.nextUniqueId());
        }
    };
    std::thread other(take, std::ref(ids[1]));
    take(ids[0]);
    other.join();
    std::set<std::string> distinct(ids[0].begin(), ids[0].end());
    distinct.insert(ids[1].begin(), ids[1].end());
    EXPECT_EQ(distinct.size(), 2U * kIdsPerThread);
    EXPECT_THAT(log_.lines(), ElementsAre(couldNotOpen()));
}

TEST_F(TarnInternalClientTest, TheProcessHasOneCounter) {
    const auto counterOf = [](const std::string& id) { return std::stoull(id); };
    const uint64_t first = counterOf(TarnInternalClient::forProcess().nextUniqueId());
    EXPECT_EQ(counterOf(TarnInternalClient::forProcess().nextUniqueId()), first + 1);
}

}  // namespace
