#include "model/tosk_persisted_structure.h"

const char* ToskPersistedStructure::getName() const {
    return "toskDeviceStructure";
}

int ToskPersistedStructure::fromJSON(const cJSON* item) {
    const cJSON* devices = util::jsonMember(item, "devices");
    if (!devices) {
        return -1;
    }
    const cJSON* element = nullptr;
    cJSON_ArrayForEach(element, devices) {
        auto device = std::make_unique<ToskDevice>();
        // A device read never gives 0: every element becomes a device, so that a damaged file
        // still starts with what it has.
        if (device->fromJSON(element) != 0) {
            addDevice(device.get());
            readDevices_.push_back(std::move(device));
        }
    }
    return 0;
}

util::UniqueJSON ToskPersistedStructure::toJSON() const {
    return list(&ToskDevice::toJSON);
}

util::UniqueJSON ToskPersistedStructure::makePayload() const {
    return list(&ToskDevice::toSavedJSON);
}

util::UniqueJSON ToskPersistedStructure::list(util::UniqueJSON (ToskDevice::*toItem)()
                                                  const) const {
    util::UniqueJSON json = util::jsonObject();
    util::UniqueJSON devices = util::jsonArray();
    for (const ToskDevice* device : devices_) {
        util::addElement(devices.get(), (device->*toItem)());
    }
    util::addMember(json.get(), "devices", std::move(devices));
    return json;
}
