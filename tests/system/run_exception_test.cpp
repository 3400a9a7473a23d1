// An exception that leaves the loop. The daemon as shipped has nothing in it that throws there, so
// this test runs its service in the test's own process; the port is the frame's all the same.

#include <algorithm>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

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

std::set<std::string> threads() {
    std::set<std::string> numbers;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        numbers.insert(entry.path().filename());
    }
    return numbers;
}

std::vector<std::string> without(const std::set<std::string>& some,
                                 const std::set<std::string>& all) {
    std::vector<std::string> rest;
    std::set_difference(all.begin(), all.end(), some.begin(), some.end(), std::back_inserter(rest));
    return rest;
}

TEST(RunException, LeavesTheLoopAfterThePollThreadWasJoined) {
    const harness::Frame frame;
    const harness::BusPeer bus;
    systemstate::Machine machine;
    SystemState state("/vantor/etc/configurableSystemDetails", machine);
    state.buildIdentityGroup("");
    state.buildCatalogue();
    pallwatch::PallwatchService service(&state, machine, "");
    std::thread([] {}).join();  // with the first one, a sanitizer starts another of its own
    const std::set<std::string> before = threads();
    std::vector<std::string> added;
    service.setOnConnectionState([&](lumo::ConnectionState) {
        added = without(before, threads());
        throw std::runtime_error("from the observer");
    });
    EXPECT_THAT([&service] { service.run(); },
                ThrowsMessage<std::runtime_error>("from the observer"));
    ASSERT_EQ(added.size(), 1U) << "the poll thread";
    // A joined thread may be listed for a moment more; one that is not joined stays.
    harness::waitUntil([&] { return !threads().contains(added.front()); }, "its end");
}

}  // namespace
