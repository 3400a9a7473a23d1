#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "client/bus_session.h"
#include "client/device_object.h"
#include "client/mirror.h"

namespace pallctl {

// Whether the status code of an answer says that what was asked is done.
constexpr bool isTaken(int statusCode) {
    return statusCode >= 200 && statusCode < 300;
}

// How long one answer may take. A set is answered when the commands that it runs have ended, and a
// restart of the network takes its time.
struct Patience {
    std::chrono::milliseconds read{2000};
    std::chrono::milliseconds set{60000};
};

// The daemon's device, asked over a session under the name of its object: "system", or
// "frameB.system" for a daemon that is reached through a prefix. What it announces while somebody
// waits for an answer goes into the mirror, too. Keeps session and mirror, which outlive it. Used
// by one thread.
//
// Asked through a prefix for the descriptor of a parameter, the daemon renames the parameter for
// good, and a renamed one does nothing any more when it is set; asked so for a value it says
// nothing. So this class then asks for the descriptor of the whole device only, which changes
// nothing, and knows the others by what the daemon announces.
class Device {
  public:
    // One request with more names could bring more answers at once than the daemon keeps waiting.
    static constexpr size_t kNamesPerRequest = 300;

    Device(BusSession& session, Mirror& mirror, std::string object, Patience patience);

    const std::string& object() const { return object_.path(); }
    bool isThroughPrefix() const { return object_.isThroughPrefix(); }
    std::string home() const { return object_.home(); }

    // As the object has them.
    std::string fullName(const std::string& name) const { return object_.fullName(name); }
    std::vector<std::string> fullNames(std::vector<std::string> names) const;
    std::string leafOf(const std::string& name) const { return object_.leafOf(name); }

    // Asks for the descriptors of these parameters (full names), and for that of the whole device,
    // which knows only the saved ones; what is not described or in doubt then is asked for again,
    // because an answer may have been lost on its way. True when the device answered: what the
    // mirror does not describe then is none of the device's parameters.
    bool read(const std::vector<std::string>& names) { return read(names, patience_.read); }
    bool read(const std::vector<std::string>& names, std::chrono::milliseconds patience);

    // Sets one parameter (full name): the status code of the answer, nothing when none came.
    std::optional<int> set(const std::string& name, UniqueJSON value);

    // The same for those who cannot wait: both queue what is to be sent, and give the id that the
    // (last) answer will have.
    std::string ask(const std::vector<std::string>& names);
    // What a reading of these names, which has ended, has to ask for once more; nothing when all is
    // described and beyond doubt.
    std::optional<std::vector<std::string>> openNames(const std::vector<std::string>& names) const;
    std::string askToSet(const std::string& name, UniqueJSON value);

    // Takes over what an announcement or an answer of the device says; other messages are passed
    // over.
    void hear(const TarnInternalMessage& message);
    // Whether an announcement said, since the last time, that the daemon is new on the bus.
    bool takeArrival() { return std::exchange(arrived_, false); }

  private:
    void askByName(const std::vector<std::string>& names);
    bool readOnce(const std::vector<std::string>& names, Deadline deadline);
    std::string beginReading(const std::vector<std::string>& names);
    std::optional<TarnInternalMessage> receive(Deadline deadline);
    std::optional<TarnInternalMessage> awaitAnswer(const std::string& id, Deadline deadline);

    BusSession& session_;
    Mirror& mirror_;
    DeviceObject object_;
    Patience patience_;
    bool arrived_ = false;
};

}  // namespace pallctl
