// An exception that leaves the loop. The daemon as shipped has nothing in it that throws there, so
// this test runs its service in the test's own process; the port is the frame's all the same.

#include <filesystem>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "harness/bus_peer.h"
#include "harness/deadline.h"
#include "harness/frame.h"
#include "service/pallwatch_service.h"
#include "systemstate/machine.h"
#include "systemstate/system_state.h"

namespace {

using testing::ThrowsMessage;

size_t threads() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<size_t>(std::distance(begin(tasks), end(tasks)));
}

TEST(RunException, LeavesTheLoopAfterThePollThreadWasJoined) {
    const harness::Frame frame;
    const harness::BusPeer bus;
    Machine machine;
    SystemState state("/vantor/etc/configurableSystemDetails", machine);
    state.buildIdentityGroup("");
    state.buildCatalogue();
    pallwatch::PallwatchService service(&state, machine, "");
    const size_t before = threads();
    size_t during = 0;
    service.setOnConnectionState([&during](lumo::ConnectionState) {
        during = threads();
        throw std::runtime_error("from the observer");
    });
    EXPECT_THAT([&service] { service.run(); },
                ThrowsMessage<std::runtime_error>("from the observer"));
    EXPECT_EQ(during, before + 1) << "the poll thread";
    // A joined thread may be listed for a moment more; one that is not joined stays.
    harness::waitUntil([before] { return threads() == before; }, "the poll thread to end");
}

}  // namespace
