// What keeps the client on the bus, with one piece of memory after the other refused.

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "bus/async_task_service.h"
#include "bus/messages.h"
#include "bus_client_fixture.h"

using namespace std::chrono_literals;

namespace {

// A client alone on its loop, so that only its memory is refused.
class BusClientMemory : public testing::Test {
  protected:
    BusClientMemory() : client_(io_, "127.0.0.1", peer_.port(), "Pallwatch", 8) {
        client_.transport().setReconnectDelay(1ms);
        client_.setHeartbeatPeriod(1ms);
        client_.subscribe("system");
        client_.setOnConnectionState([this](lumo::ConnectionState, const std::string&) {
            client_.send(NOTMessage("system", "frameName", util::jsonString("name")));
        });
        client_.connectToTarnInternal();
    }
    // Both loops take turns; the memory is refused to the client's.
    bool until(RefusedAllocation& refused, const std::function<bool()>& condition) {
        const auto deadline = std::chrono::steady_clock::now() + 20s;
        while (!condition() && std::chrono::steady_clock::now() < deadline) {
            refused.watch(true);
            io_.restart();
            io_.run_one_for(1ms);
            refused.watch(false);
            peerLoop_.restart();
            peerLoop_.poll();
        }
        return condition();
    }
    // A new connection that says more than its login.
    bool logsInAgain(RefusedAllocation& refused, std::size_t connections) {
        return until(refused, [&] {
            return peer_.connections() > connections && peer_.last().payloads().size() >= 3;
        });
    }

    asio::io_service peerLoop_;
    ScriptedPeer peer_{peerLoop_};
    asio::io_service io_;
    lumo::AsyncTarnInternalClient client_;
};

}  // namespace

TEST_F(BusClientMemory, LackOfItDelaysAReconnectAndLosesNothingOfTheLogin) {
    RefusedAllocation none(0);
    ASSERT_TRUE(logsInAgain(none, 0));
    std::size_t points = 0;
    for (bool happened = true; happened; ++points) {
        RefusedAllocation refused(points + 1);
        const std::size_t connections = peer_.connections();
        peer_.last().close();
        ASSERT_TRUE(logsInAgain(refused, connections)) << points;
        EXPECT_THAT(peer_.last().payloads().at(0), testing::HasSubstr("\"version\":1")) << points;
        EXPECT_THAT(peer_.last().payloads().at(1), testing::HasSubstr("\"path\":\"system\""));
        EXPECT_THAT(peer_.last().payloads().at(2), testing::HasSubstr("\"frameName\":\"name\""));
        happened = refused.happened();
    }
    EXPECT_GT(points, 30u) << "places where memory is asked for";
}

TEST_F(BusClientMemory, NeitherReadsNorAnswersNorHeartbeatsStopForLackOfIt) {
    RefusedAllocation none(0);
    ASSERT_TRUE(logsInAgain(none, 0));
    const std::string& received = peer_.last().received();
    std::size_t points = 0;
    for (bool happened = true; happened; ++points) {
        RefusedAllocation refused(points + 1);
        const auto hears = [&, before = received.size()](const std::string& text) {
            return received.find(text, before) != std::string::npos;
        };
        // The one that meets the lack may stay without an answer.
        for (int i = 0; i < 2; ++i) {
            peer_.last().sendFrame(kReadyQuery.request);
        }
        ASSERT_TRUE(until(refused, [&] { return hears(kReadyQuery.replies[0]); })) << points;
        ASSERT_TRUE(until(refused, [&] { return hears("[\"SET\", \"\", 8, 0, 0]"); })) << points;
        happened = refused.happened();
    }
    EXPECT_GT(points, 20u) << "places where memory is asked for";
    EXPECT_EQ(peer_.connections(), 1u);
}

TEST(AsyncTaskServiceMemory, TickThatLacksItIsSkippedAndTheSeriesGoesOn) {
    lumo::AsyncTaskService service;
    std::promise<void> fifth;
    int runs = 0;
    service.setPeriodicTask(1ms, [&] {
        if (++runs == 5) {
            fifth.set_value();
        }
        throw std::bad_alloc();
    });
    service.start();
    EXPECT_EQ(fifth.get_future().wait_for(20s), std::future_status::ready);
    service.stop();
}

TEST(AsyncTaskServiceMemory, SeriesNeedsNone) {
    lumo::AsyncTaskService service;
    std::promise<void> fifth;
    std::unique_ptr<RefusedAllocations> refused;
    int runs = 0;
    service.setPeriodicTask(1ms, [&] {
        if (++runs == 1) {
            refused = std::make_unique<RefusedAllocations>(1);  // from here on, for this thread
        }
        if (runs == 5) {
            refused.reset();
            fifth.set_value();
        }
    });
    service.start();
    EXPECT_EQ(fifth.get_future().wait_for(20s), std::future_status::ready);
    service.stop();
}
