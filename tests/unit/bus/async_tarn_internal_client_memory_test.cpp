// What keeps the client on the bus, with one piece of memory after the other refused.

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include <cjson/cJSON.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "allocations.h"
#include "bus/async_task_service.h"
#include "bus/messages.h"
#include "bus_client_fixture.h"

using namespace std::chrono_literals;
using testing::ElementsAre;

namespace {

// The JSON library calls the malloc of this program.
class CountedJSONMemory {
  public:
    CountedJSONMemory() {
        cJSON_Hooks hooks{[](std::size_t size) { return std::malloc(size); },
                          [](void* memory) { std::free(memory); }};
        cJSON_InitHooks(&hooks);
    }
    ~CountedJSONMemory() { cJSON_InitHooks(nullptr); }
    CountedJSONMemory(const CountedJSONMemory&) = delete;
    CountedJSONMemory& operator=(const CountedJSONMemory&) = delete;
};

// A client alone on its loop, so that only its memory is refused.
class BusClientMemory : public testing::Test {
  protected:
    BusClientMemory() : client_(io_, "127.0.0.1", peer_.port(), "Pallwatch", 8) {
        client_.transport().setReconnectDelay(1ms);
        client_.setHeartbeatPeriod(1ms);
        client_.subscribe("system");
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
    // A new connection that says more than its greeting.
    bool logsInAgain(RefusedAllocation& refused, std::size_t connections) {
        return until(refused, [&] {
            return peer_.connections() > connections && peer_.last().payloads().size() >= 3;
        });
    }

    const CountedJSONMemory json_;
    asio::io_service peerLoop_;
    ScriptedPeer peer_{peerLoop_};
    asio::io_service io_;
    lumo::AsyncTarnInternalClient client_;
};

}  // namespace

TEST_F(BusClientMemory, LackOfItDelaysAReconnectAndLosesNothingOfTheGreeting) {
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
        happened = refused.happened();
    }
    EXPECT_GT(points, 20u) << "places where memory is asked for";
}

TEST_F(BusClientMemory, NeitherReadsNorAnswersNorHeartbeatsStopForLackOfIt) {
    RefusedAllocation none(0);
    ASSERT_TRUE(logsInAgain(none, 0));
    bool happened = true;
    for (std::size_t point = 1; happened; ++point) {
        RefusedAllocation refused(point);
        const auto answers = [this] {
            std::size_t count = 0;
            for (const std::string& payload : peer_.last().payloads()) {
                count += payload == kReadyQuery.replies[0];
            }
            return count;
        };
        const std::size_t before = answers();
        const bool answered = until(refused, [&] {
            peer_.last().sendFrame(kReadyQuery.request);
            return answers() > before + 1;
        });
        ASSERT_TRUE(answered) << point;
        const std::size_t heard = peer_.last().payloads().size();
        ASSERT_TRUE(until(refused, [&] { return peer_.last().payloads().size() > heard + 2; }));
        happened = refused.happened();
    }
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
