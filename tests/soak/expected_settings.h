#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "pallframe/simulation/frame_root.h"
#include "soak_lib/requests.h"

namespace soak {

// What the state file and network.conf have to hold, as far as it can be known: what the device
// acknowledged last or, in network.conf, what others edited last. Values are JSON texts.
class ExpectedSettings {
  public:
    // The parameters in network.conf, in this order.
    static constexpr std::array<const char*, 3> kNetwork{"ipAddress", "netmask", "gateway"};
    using Addresses = std::array<uint32_t, 3>;

    // Another program wrote network.conf while the device left it alone.
    void editNetwork(const Addresses& addresses);
    // Another program wrote it while the device may have been writing it too.
    void forgetNetwork();
    bool isNetworkKnown() const;

    // The number of edits so far, to be noted when a set is sent.
    uint64_t edition() const { return edition_; }
    // The device acknowledged the value, or a value that is unknown. A network setting that was
    // edited after its set was sent becomes unknown: either may have come first.
    void acknowledge(const Parameter& parameter, const std::optional<std::string>& value,
                     uint64_t edition);
    // A set was sent, and whether it was carried out will not be known.
    void forget(const Parameter& parameter) { values_.erase(parameter.name); }

    // Empty when it is not known.
    std::optional<std::string> value(const std::string& name) const;

    // Compares the files of the frame with this; one line for each difference. A network.conf that
    // is set aside is not compared.
    std::vector<std::string> compare(const pallframe::simulation::FrameRoot& root) const;

  private:
    void compareStateFile(const std::string& text, std::vector<std::string>& differences) const;
    void compareNetwork(const std::string& text, std::vector<std::string>& differences) const;

    std::map<std::string, std::string> values_;
    uint64_t edition_ = 0;
};

}  // namespace soak
