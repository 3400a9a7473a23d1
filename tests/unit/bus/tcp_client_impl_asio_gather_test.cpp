#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "system_calls.h"
#include "tcp_client_fixture.h"

using lumo::TCPClientImplAsio;
using namespace std::chrono_literals;

namespace {

using Batch = TCPClientImplAsio::Batch;
using IpDetails = TCPClientImplAsio::IpDetails;

class TCPClientGather : public TCPClientTest {
  protected:
    void SetUp() override {
        ASSERT_TRUE(startAndConnect());
        calls_.restart();
    }
    int sends() const { return calls_.count(SystemCall::send); }

    WatchedSystemCalls calls_;
};

}  // namespace

TEST_F(TCPClientGather, BatchIsWrittenWhenItEnds) {
    {
        const Batch batch = client_->gather();
        send({"a"});
        send({"b"});
        EXPECT_EQ(sends(), 0);
    }
    EXPECT_EQ(sends(), 1);
    EXPECT_EQ(peer_.last().takeNow(), "ab");
}

TEST_F(TCPClientGather, EmptyBatchWritesNothing) {
    { const Batch batch = client_->gather(); }
    EXPECT_EQ(sends(), 0);
}

TEST_F(TCPClientGather, OutermostOfNestedBatchesWrites) {
    {
        const Batch outer = client_->gather();
        send({"a"});
        {
            const Batch inner = client_->gather();
            send({"b"});
        }
        EXPECT_EQ(sends(), 0);
        send({"c"});
    }
    EXPECT_EQ(sends(), 1);
    EXPECT_EQ(peer_.last().takeNow(), "abc");
}

// An announcement has left before the command that it announces begins.
TEST_F(TCPClientGather, FlushWritesInTheMiddleOfABatch) {
    const Batch batch = client_->gather();
    send({"a"});
    client_->flush();
    EXPECT_EQ(peer_.last().takeNow(), "a");
    send({"b"});
    EXPECT_EQ(sends(), 1);
}

TEST_F(TCPClientGather, OtherThreadsAreNotPartOfTheBatch) {
    const Batch batch = client_->gather();
    send({"mine "});
    std::thread([this] {
        send({"other"});
        client_->flush();
    }).join();
    EXPECT_EQ(sends(), 1);
    EXPECT_EQ(peer_.last().takeNow(), "other");
}

TEST_F(TCPClientGather, BatchKnowsHowMuchItKeeps) {
    EXPECT_EQ(client_->gathered(), 0u);
    const Batch batch = client_->gather();
    send({"2:", "ab", ";"});
    {
        const Batch inner = client_->gather();
        send({"c"});
        EXPECT_EQ(client_->gathered(), 6u);
    }
    std::thread([this] { EXPECT_EQ(client_->gathered(), 0u); }).join();
    client_->flush();
    EXPECT_EQ(client_->gathered(), 0u);
}

TEST_F(TCPClientGather, BatchOfMoreThanFourMebibytesIsFlushed) {
    const std::string mebibyte(1024 * 1024, 'm');
    const Batch batch = client_->gather();
    for (int i = 0; i < 4; ++i) {
        send({mebibyte});
    }
    EXPECT_EQ(sends(), 0);
    send({"!"});
    EXPECT_EQ(client_->gathered(), 0u);
    EXPECT_TRUE(peerHas(mebibyte + mebibyte + mebibyte + mebibyte + "!"));
}

TEST_F(TCPClientGather, EachThreadHasItsOwnBatch) {
    std::thread([this] {
        const Batch batch = client_->gather();
        send({"a"});
        send({"b"});
    }).join();
    EXPECT_EQ(sends(), 1);
    EXPECT_EQ(peer_.last().takeNow(), "ab");
}

TEST_F(TCPClientGather, BatchOfOneClientLeavesOthersAlone) {
    const auto other = makeClient(peer_.port());
    other->start();
    ASSERT_TRUE(until([&] { return other->connected() && peer_.connections() == 2; }));
    const Batch batch = client_->gather();
    std::vector<std::string> parts{"other"};
    other->send(parts);
    EXPECT_EQ(peer_.last().takeNow(), "other");
}

TEST_F(TCPClientGather, AnswersToOneChunkAreOneWrite) {
    client_->setOnData([this](const char* data, std::size_t size, const IpDetails&) {
        for (std::size_t i = 0; i < size; ++i) {
            send({"1:", std::string(1, data[i]), ";"});
        }
    });
    const std::string questions(64, 'q');
    std::string answers;
    for (std::size_t i = 0; i < questions.size(); ++i) {
        answers += "1:q;";
    }
    peer_.last().send(questions);
    EXPECT_TRUE(peerHas(answers));
    EXPECT_EQ(sends(), 1);
}

// The limit is for a write that is stuck: a long batch goes out in pieces instead.
TEST_F(TCPClientGather, LongBatchLosesNothing) {
    std::string expected;
    {
        const Batch batch = client_->gather();
        for (int i = 0; i < 5000; ++i) {
            ASSERT_EQ(send({std::to_string(i), " "}), std::error_code());
            expected += std::to_string(i) + " ";
        }
    }
    EXPECT_TRUE(peerHas(expected));
    EXPECT_LT(sends(), 20);
}

TEST_F(TCPClientGather, BatchThatOutlivesTheConnectionWritesNothing) {
    {
        const Batch batch = client_->gather();
        send({"lost"});
        client_->close("test");
    }
    EXPECT_EQ(sends(), 0);
    ASSERT_TRUE(connected(2));
    send({"new"});
    EXPECT_TRUE(peerHas("new"));
}

TEST_F(TCPClientGather, BatchForAnEarlierConnectionDoesNotReachTheNext) {
    {
        const Batch batch = client_->gather();
        send({"lost"});
        client_->close("test");
        ASSERT_TRUE(connected(2));
        send({"new"});
    }
    EXPECT_TRUE(peerHas("new"));
}

TEST_F(TCPClientGather, AnswersLeaveThoughTheReceiverThrows) {
    client_->setOnData([this](const char*, std::size_t, const IpDetails&) {
        send({"a"});
        throw std::runtime_error("out of the loop");
    });
    peer_.last().send("q");
    EXPECT_THROW(until([] { return false; }), std::runtime_error);
    EXPECT_EQ(peer_.last().takeNow(), "a");
}
