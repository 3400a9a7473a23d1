#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include <asio/io_service.hpp>
#include <gtest/gtest.h>

#include "bus/async_tarn_internal_client.h"
#include "loop.h"
#include "scripted_peer.h"

// What the bus says, and what the client answers to it.
struct Exchange {
    std::string request;
    std::vector<std::string> replies;
};

inline const std::string kLogin =
    "[\"SET\", \"system.connection\", 8, 0, 0]\n"
    R"({"id":"*","param":{"login":{"name":"Pallwatch","connID":8,"version":1}}})";

inline std::string subscribeList(const std::string& entries) {
    return "[\"SET\", \"system.connection\", 8, 0, 0]\n"
           R"({"id":"*","param":{"subscribeList":[)" +
           entries + "]}}";
}

// A question that is always answered, and its answer while the module is not ready.
inline const Exchange kReadyQuery = {
    "[\"GET\", \"system\", 1, 8, 0]\n"
    R"({"id":"q","param":{"objectName":["moduleReady"]}})",
    {"[\"RSP\", \"system\", 8, 1, 0]\n"
     R"({"id":"q","statusCode":200,"statusMsg":"OK",)"
     R"("param":{"moduleReady":{"name":"Pallwatch","connID":8,"ready":false}}})"}};

// The client of this program and a bus that speaks to it, on one loop. Reconnects after 20 ms.
class BusClientTest : public testing::Test {
  protected:
    BusClientTest() {
        client_ = std::make_unique<lumo::AsyncTarnInternalClient>(io_, "127.0.0.1", peer_.port(),
                                                                  "Pallwatch", 8);
        client_->transport().setReconnectDelay(std::chrono::milliseconds(20));
    }

    template <typename Condition>
    bool until(Condition condition) {
        return runUntil(io_, condition);
    }
    // Until the peer has its given number of connections, and login and list on the last.
    bool loggedIn(std::size_t connections = 1) {
        return until([&] {
            return peer_.connections() == connections && peer_.last().payloads().size() >= 2;
        });
    }
    bool connectAndLogIn() {
        client_->connectToTarnInternal();
        return loggedIn();
    }
    // What the last connection carried; the ids that the client made up are shown as *.
    std::vector<std::string> heard() {
        std::vector<std::string> payloads = peer_.last().payloads();
        for (std::string& payload : payloads) {
            hideOwnId(payload);
        }
        return payloads;
    }
    // Waits for that many payloads on the last connection and gives them all.
    std::vector<std::string> hear(std::size_t count) {
        until([&] { return peer_.last().payloads().size() >= count; });
        return heard();
    }

    // Says the requests one after the other on a new connection and expects exactly the replies.
    // The question at the end shows that nothing else was still to come.
    void replay(std::vector<Exchange> conversation) {
        conversation.push_back(kReadyQuery);
        ASSERT_TRUE(connectAndLogIn());
        std::vector<std::string> expected = heard();
        for (const Exchange& exchange : conversation) {
            peer_.last().sendFrame(exchange.request);
            expected.insert(expected.end(), exchange.replies.begin(), exchange.replies.end());
        }
        EXPECT_EQ(hear(expected.size()), expected);
    }

  private:
    // An id of this process is a number, "@" and the host; those of the requests have no "@".
    static void hideOwnId(std::string& payload) {
        static const std::string kKey = "\"id\":\"";
        const std::size_t key = payload.find(kKey);
        const std::size_t begin = key + kKey.size();
        const std::size_t end = key == std::string::npos ? key : payload.find('"', begin);
        const std::size_t at = payload.find('@', begin);
        if (end != std::string::npos && at < end) {
            payload.replace(begin, end - begin, "*");
        }
    }

  protected:
    asio::io_service io_;
    ScriptedPeer peer_{io_};
    std::unique_ptr<lumo::AsyncTarnInternalClient> client_;
};
