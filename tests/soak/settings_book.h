#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace soak {

// What must stand in network.conf, as far as it can be known: what was last edited by others or
// last acknowledged by the device. Pure.
class SettingsBook {
  public:
    using Setting = std::optional<uint32_t>;
    using Settings = std::array<Setting, 3>;  // address, netmask, gateway

    // Somebody wrote the file while the device left it alone.
    void edited(const Settings& settings);
    // Somebody wrote the file while the device may have been writing it too: all is open.
    void editedMeanwhile() { edited({}); }

    // Before a set is sent; the result goes with its acknowledgement.
    uint64_t edition() const { return edition_; }
    // The device says that a setting is now `value`, which it was asked for at that edition. What
    // was edited since then may have been first or last.
    void acknowledged(const std::string& name, uint32_t value, uint64_t edition);
    // A set of it was sent, and whether it was carried out will not be known.
    void lostTrackOf(const std::string& name);

    // Whether a file that holds these is the file to expect.
    bool agrees(const Settings& inFile) const;
    bool allKnown() const;
    const Settings& settings() const { return settings_; }

    // The place of a parameter among the settings; nothing for another parameter.
    static std::optional<size_t> place(const std::string& name);

  private:
    Settings settings_;
    uint64_t edition_ = 0;
};

}  // namespace soak
