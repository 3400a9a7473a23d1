#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "client/device_path.h"
#include "client/parameter_cache.h"
#include "pallctl/top/history.h"

namespace pallctl::top {

// How long a change catches the eye.
inline constexpr std::chrono::seconds kHighlightTime{3};

// A voltage that is drawn: the last part of its parameter's name, and what people call it.
struct Voltage {
    const char* leaf;
    const char* title;
};
inline constexpr std::array<Voltage, 3> kVoltages{
    {{"psu1Voltage", "PSU 1"}, {"psu2Voltage", "PSU 2"}, {"battVoltage", "Battery"}}};

// What is known of the device, and since when: fed with the messages of the bus or of a recording.
// Used by one thread.
class DeviceState {
  public:
    explicit DeviceState(const std::string& object = client::kDaemonObject);
    DeviceState(const DeviceState&) = delete;
    DeviceState& operator=(const DeviceState&) = delete;

    // Takes over what the message says of the device; times do not go back. What is announced
    // without ever having been described is what the daemon's catalogue says. True when it says
    // that the daemon is new on the bus, so that what is known here may be old.
    bool take(const TarnInternalMessage& message, Moment at);
    // Nothing is heard from now on: values stay as they were last known, the graphs break off.
    void markDisconnected(Moment at);
    // Begins anew.
    void clear();

    // Where all of it is kept.
    client::ParameterCache& cache() { return cache_; }
    // What a parameter is called below the device, "ipAddress".
    std::string leafName(const client::Parameter& parameter) const;
    // By that name. Null when nothing is known; borrowed until clear().
    const client::Parameter* find(const std::string& leaf) const;
    // All parameters, in the order in which they were first heard of.
    std::vector<const client::Parameter*> all() const { return cache_.all(); }
    // When its value last became another one, by full name; nothing when it was only read so far.
    std::optional<Moment> changedAt(const std::string& name) const;
    // Of one of kVoltages.
    const History& history(std::size_t voltage) const { return histories_[voltage]; }

  private:
    void listen();
    void describeFromCatalogue();
    void sample(Moment at);
    static void sample(History& history, double volts, Moment at);

    const client::DevicePath object_;
    client::ParameterCache cache_;
    Moment now_{0};
    std::map<std::string, Moment> changes_;
    std::array<History, kVoltages.size()> histories_;
};

// Its value as a person reads it, "-" when nothing is known; showable.
std::string valueOf(const client::Parameter* parameter);

// Whether a change happened so recently that it is to catch the eye.
bool isHighlighted(const std::optional<Moment>& change, Moment now);

}  // namespace pallctl::top
