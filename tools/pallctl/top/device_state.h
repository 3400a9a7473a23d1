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

// How long a change is highlighted.
inline constexpr std::chrono::seconds kHighlightTime{3};

// A voltage with a graph: the last part of its parameter's name, and its title.
struct Voltage {
    const char* leaf;
    const char* title;
    double initial;  // published until the first measurement
};
inline constexpr std::array<Voltage, 3> kVoltages{
    {{"psu1Voltage", "PSU 1", 0}, {"psu2Voltage", "PSU 2", 0}, {"battVoltage", "Battery", -1}}};

// The ports: the last parts of their parameters' names.
inline constexpr std::array<const char*, 2> kPorts{"ethPort1Status", "ethPort2Status"};

// The state of the device and the times of its changes, from messages of the bus or of a recording.
// Used by one thread.
class DeviceState {
  public:
    explicit DeviceState(const std::string& object = client::kDaemonObject);
    DeviceState(const DeviceState&) = delete;
    DeviceState& operator=(const DeviceState&) = delete;

    // Applies a message; times do not go back. A parameter without a descriptor gets that of the
    // daemon's catalogue. True when the message announces a new start of the daemon, so that the
    // state may be old.
    bool take(const TarnInternalMessage& message, Moment at);
    // No more messages arrive: values stay as they are, the graphs end.
    void markDisconnected(Moment at);
    // Removes everything.
    void clear();

    // Contains all parameters.
    client::ParameterCache& cache() { return cache_; }
    // The name of a parameter below the device, "ipAddress".
    std::string leafName(const client::Parameter& parameter) const;
    // By that name. Null when unknown; borrowed until clear().
    const client::Parameter* find(const std::string& leaf) const;
    // Its value if it is a number.
    Reading number(const std::string& leaf) const;
    // All parameters, in the order of their first messages.
    std::vector<const client::Parameter*> all() const { return cache_.all(); }
    // The time of the last change of its value, by full name; empty when it was only read.
    std::optional<Moment> changedAt(const std::string& name) const;
    // False for a voltage or port that the daemon has published but not measured since its start.
    // The daemon of a QuoraneBrio measures neither.
    bool isMeasured(const std::string& leaf, Moment now) const;
    // Of one of kVoltages.
    const History& history(std::size_t voltage) const { return histories_[voltage]; }

  private:
    void listen();
    void describeFromCatalogue();
    bool isVoltageMeasured(std::size_t voltage, Moment now) const;
    bool areVoltagesInitial() const;
    bool isAnyVoltageMeasured() const;
    void noteMeasurement(Moment at);
    void endGraphs(Moment at);
    void sample(Moment at);

    const client::DevicePath object_;
    client::ParameterCache cache_;
    Moment now_{0};
    std::map<std::string, Moment> changes_;
    std::optional<Moment> measuredSince_;  // the daemon's first measurement of any voltage
    std::array<History, kVoltages.size()> histories_;
};

// The formatted value, "-" without one; showable.
std::string displayValue(const client::Parameter* parameter);

// Whether a change at that time is still highlighted.
bool isHighlighted(const std::optional<Moment>& change, Moment now);

}  // namespace pallctl::top
