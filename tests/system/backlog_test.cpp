// A peer that asks and does not listen.

#include "on_bus.h"

using namespace harness;

namespace {

constexpr int kRequests = 3000;
constexpr size_t kStringsThatMayWait = 1000;
constexpr size_t kStringsOfAMessage = 3;  // length, payload, end

class Backlog : public OnBus {
  protected:
    void askForTheDevice(int times) const {
        for (int i = 0; i < times; ++i) {
            bus.get("system", R"({"id":")" + std::to_string(i) +
                                  R"(","param":{"objectName":["paramDescriptor"]}})");
        }
    }

    // The ids of everything that comes, until a question that is asked now and then is answered:
    // as long as the daemon has no room, the answer to that is lost as well.
    std::vector<int> idsUntilAnAnswer() {
        std::vector<int> ids;
        for (size_t received = 1;; ++received) {
            const BusMessage message = bus.receive();
            if (message.id() == "now") {
                return ids;
            }
            const bool isHeartbeat = message.objectName.empty();
            if (!isHeartbeat) {
                ids.push_back(std::stoi(message.id()));
            }
            if (isHeartbeat || received % 100 == 0) {
                bus.get("system", R"({"id":"now","param":{"objectName":["systemName"]}})");
            }
        }
    }
};

TEST_F(Backlog, IsLimitedAndTheRestIsDropped) {
    bus.setReceiveBuffer(4096);
    start();
    askForTheDevice(kRequests);
    bus.waitUntilRead();
    const std::vector<int> ids = idsUntilAnAnswer();
    EXPECT_GT(ids.size(), kStringsThatMayWait / kStringsOfAMessage);
    EXPECT_LT(ids.size(), static_cast<size_t>(kRequests));
    EXPECT_TRUE(std::is_sorted(ids.begin(), ids.end()));
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end()) << "none comes twice";
    EXPECT_EQ(ids.front(), 0);
}

TEST_F(Backlog, DoesNotKeepTheDaemonFromStopping) {
    bus.setReceiveBuffer(4096);
    start();
    askForTheDevice(kRequests);
    bus.waitUntilRead();
    stop();
}

}  // namespace
