#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tcp_client_fixture.h"

using namespace std::chrono_literals;
using std::chrono::steady_clock;

namespace {

// A second thread that sends numbered messages for as long as it lives.
class Flood {
  public:
    explicit Flood(lumo::TCPClientImplAsio& client, bool batches = false)
        : thread_([this, &client, batches] { run(client, batches); }) {}
    ~Flood() {
        stop_ = true;
        thread_.join();
    }
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

    int sent() const { return sent_; }

  private:
    void run(lumo::TCPClientImplAsio& client, bool batches) {
        for (int number = 0; !stop_; ++number) {
            if (batches) {
                const auto batch = client.gather();
                say(client, number++);
                say(client, number);
            } else {
                say(client, number);
            }
            std::this_thread::yield();
        }
    }
    void say(lumo::TCPClientImplAsio& client, int number) {
        std::vector<std::string> parts{"<", std::to_string(number), ">"};
        client.send(parts);
        ++sent_;
    }

    std::atomic<bool> stop_ = false;
    std::atomic<int> sent_ = 0;
    std::thread thread_;
};

class TCPClientThreads : public TCPClientTest {
  protected:
    TCPClientThreads() {
        client_->setOnConnect([this](std::error_code error) {
            times_.push_back(steady_clock::now());
            if (!error) {
                send({"hello"});
                send({"list"});
            }
            return std::error_code();
        });
    }
    // The connection began with the login; behind it are whole messages, each later than the
    // one before.
    static void expectInOrder(const std::string& received) {
        static const std::string kLogin = "hellolist";
        ASSERT_EQ(received.substr(0, kLogin.size()),
                  kLogin.substr(0, std::min(received.size(), kLogin.size())));
        long last = -1;
        std::size_t place = kLogin.size();
        while (place < received.size()) {
            const std::size_t end = received.find('>', place);
            if (end == std::string::npos) {
                break;
            }
            ASSERT_EQ(received[place], '<');
            const long number = std::stol(received.substr(place + 1, end - place - 1));
            ASSERT_GT(number, last);
            last = number;
            place = end + 1;
        }
    }

    std::vector<steady_clock::time_point> times_;
};

}  // namespace

TEST_F(TCPClientThreads, NothingReachesAConnectionBeforeItsLogin) {
    client_->setReconnectDelay(1ms);
    const Flood flood(*client_);
    client_->start();
    for (std::size_t connection = 1; connection <= 20; ++connection) {
        ASSERT_TRUE(connected(connection));
        ASSERT_TRUE(until([this] { return peer_.last().received().size() > 100; }));
        connection % 2 == 0 ? peer_.last().reset() : client_->close("test");
    }
    for (std::size_t i = 0; i < peer_.connections(); ++i) {
        expectInOrder(peer_.session(i).received());
    }
}

TEST_F(TCPClientThreads, BatchesOfAThreadSurviveReconnects) {
    client_->setReconnectDelay(1ms);
    const Flood flood(*client_, true);
    client_->start();
    for (std::size_t connection = 1; connection <= 10; ++connection) {
        ASSERT_TRUE(connected(connection));
        ASSERT_TRUE(until([this] { return peer_.last().received().size() > 100; }));
        client_->close("test");
    }
    for (std::size_t i = 0; i < peer_.connections(); ++i) {
        expectInOrder(peer_.session(i).received());
    }
}

TEST_F(TCPClientThreads, BothThreadsWriteWholeMessages) {
    client_->setOnData([this](const char*, std::size_t, const lumo::TCPClientImplAsio::IpDetails&) {
        send({"(", "loop", ")"});
    });
    ASSERT_TRUE(startAndConnect());
    const Flood flood(*client_);
    for (int i = 0; i < 200; ++i) {
        peer_.last().send("x");
        io_.restart();
        io_.poll();
    }
    ASSERT_TRUE(
        until([this] { return peer_.last().received().find("(loop)") != std::string::npos; }));
    std::string received = peer_.last().received();
    for (std::size_t at = received.find("(loop)"); at != std::string::npos;
         at = received.find("(loop)")) {
        received.erase(at, 6);
    }
    expectInOrder(received);
}

// Sends into a dead or an absent connection must not push the next attempt away.
TEST_F(TCPClientThreads, FloodDoesNotDelayTheReconnect) {
    client_->setReconnectDelay(100ms);
    const Flood flood(*client_);
    ASSERT_TRUE(startAndConnect());
    peer_.stopListening();
    peer_.last().reset();
    times_.clear();
    ASSERT_TRUE(until([this] { return times_.size() == 4; }));
    for (std::size_t attempt = 1; attempt < 4; ++attempt) {
        EXPECT_GE(times_[attempt] - times_[attempt - 1], 100ms);
        EXPECT_LT(times_[attempt] - times_[attempt - 1], 1s);
    }
    EXPECT_GT(flood.sent(), 10);
    peer_.listen();
    EXPECT_TRUE(connected(2));
}

TEST_F(TCPClientThreads, StoppedUnderAFlood) {
    ASSERT_TRUE(startAndConnect());
    const Flood flood(*client_);
    ASSERT_TRUE(until([this] { return peer_.last().received().size() > 100; }));
    client_->stop();
    ASSERT_TRUE(until([this] { return peer_.last().ended(); }));
    EXPECT_EQ(send({"x"}).value(), 107);
}
