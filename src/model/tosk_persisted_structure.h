#pragma once

#include <memory>
#include <string>
#include <vector>

#include "model/json_container.h"
#include "model/tosk_device.h"

// A list of devices kept in one JSON file. Devices that it read itself live as long as it does;
// those that others added are theirs. Main thread.
class ToskPersistedStructure : public AbstractJSONTopLevelContainer {
  public:
    using AbstractJSONTopLevelContainer::AbstractJSONTopLevelContainer;

    const char* getName() const override;

    // Appends a device for each element of "devices", malformed ones included: 0, or -1 when the
    // item or "devices" is missing.
    int fromJSON(const cJSON* item) override;

    // { "devices": [ … ] }, owned by the caller.
    util::UniqueJSON toJSON() const override;

    // Appends `device`, which must outlive its place in the list.
    void addDevice(ToskDevice* device) { devices_.push_back(device); }
    const std::vector<ToskDevice*>& devices() const { return devices_; }

  private:
    util::UniqueJSON makePayload() const override;
    util::UniqueJSON list(util::UniqueJSON (ToskDevice::*toItem)() const) const;

    std::vector<ToskDevice*> devices_;
    std::vector<std::unique_ptr<ToskDevice>> readDevices_;
};
