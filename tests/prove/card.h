#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "control_page.h"
#include "directory.h"
#include "harness/bus_peer.h"
#include "harness/frame.h"
#include "subject.h"

namespace prove {

inline constexpr const char* kStateName = "configurableSystemDetails.json";
inline constexpr const char* kNetworkName = "network.conf";
inline constexpr const char* kLabelName = "deviceName";

// A control card in this frame: the directory of its settings, its bus, and one daemon at a time.
// Programs of the frame do nothing and take no time. Its calls are for one thread; they throw
// std::runtime_error and harness::TimedOut.
class Card {
  public:
    Card(std::string_view product, const std::string& program);

    Directory directory() const { return takeDirectory(kWatched); }
    void put(const Directory& directory) const { putDirectory(kWatched, directory); }

    // Starts the daemon, with a fault when one is given, and waits until it is on the bus. False
    // when it ended instead.
    bool start(const std::optional<Fault>& fault = std::nullopt);

    // Ends the daemon with SIGKILL and forgets its connections.
    void kill();

    // The settings that it tells over the bus, on one line.
    std::string settings();

    // Sends a set of "system"; gives the status of its answer, 0 when none came. Waits until the
    // daemon has worked it off or has gone.
    int set(const std::string& param);

    // The settings that the next start finds in such a directory; "nothing" when it does not come
    // up. The same directory is tried once only. No daemon may run.
    const std::string& found(const Directory& directory);

    Subject& daemon() { return *daemon_; }
    bool isRunning() { return daemon_ && !daemon_->hasEnded(); }
    harness::BusPeer& bus() { return bus_; }
    ControlPage& page() { return page_; }
    const harness::Frame& frame() const { return frame_; }

  private:
    bool waitForLogin();
    std::string settingsOnce();
    std::string foundNow(const Directory& directory);

    harness::Frame frame_;
    std::string program_;
    ControlPage page_{"/run/prove-control"};
    harness::BusPeer bus_;
    std::optional<Subject> daemon_;
    std::map<Directory, std::string> found_;
    unsigned asked_ = 0;
};

}  // namespace prove
