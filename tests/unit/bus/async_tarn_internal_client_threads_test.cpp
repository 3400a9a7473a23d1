#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "bus/async_task_service.h"
#include "bus/messages.h"
#include "bus_client_fixture.h"

using namespace std::chrono_literals;

namespace {

// The poll of a service: every millisecond it announces a few changes, together.
class BusClientThreads : public BusClientTest {
  protected:
    BusClientThreads() {
        poll_.setPeriodicTask(1ms, [this] {
            const auto batch = client_->gather();
            for (int i = 0; i < 3; ++i) {
                client_->send(NOTMessage("system", "count", util::jsonNumber(++count_)));
            }
        });
    }
    ~BusClientThreads() override { poll_.stop(); }

    std::atomic<int> count_ = 0;
    lumo::AsyncTaskService poll_;
};

}  // namespace

TEST_F(BusClientThreads, NothingOfThePollComesBeforeLoginAndList) {
    client_->subscribe("system");
    client_->transport().setReconnectDelay(5ms);
    poll_.start();
    client_->connectToTarnInternal();
    for (std::size_t connection = 1; connection <= 8; ++connection) {
        ASSERT_TRUE(loggedIn(connection));
        const std::vector<std::string> payloads = hear(10);
        ASSERT_GE(payloads.size(), 10u);
        EXPECT_EQ(payloads[0], kLogin);
        EXPECT_EQ(payloads[1], subscribeList(R"({"path":"system"})"));
        EXPECT_EQ(payloads[2].rfind("[\"NOT\", \"system\", 8, 0, 0]\n", 0), 0u) << payloads[2];
        connection % 2 == 0 ? peer_.last().reset() : peer_.last().close();
    }
}

TEST_F(BusClientThreads, QuestionsAreAnsweredWhileThePollAnnounces) {
    ASSERT_TRUE(connectAndLogIn());
    poll_.start();
    for (int i = 0; i < 50; ++i) {
        peer_.last().sendFrame(kReadyQuery.request);
        runFor(io_, 1ms);
    }
    const auto answers = [this] {
        int count = 0;
        for (const std::string& payload : heard()) {
            count += payload == kReadyQuery.replies[0];
        }
        return count;
    };
    EXPECT_TRUE(until([&] { return answers() == 50; }));
}

TEST_F(BusClientThreads, DisconnectUnderThePoll) {
    poll_.start();
    ASSERT_TRUE(connectAndLogIn());
    hear(10);
    client_->disconnect();
    ASSERT_TRUE(until([this] { return peer_.last().ended(); }));
    poll_.stop();
    client_.reset();
}
