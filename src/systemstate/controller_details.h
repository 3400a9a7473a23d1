#pragma once

#include <string>

// The details of one of the two control cards, from the bus.
struct ControllerDetails {
    std::string ipAddress;
    bool present = false;
    bool active = false;
    std::string version;

    bool operator==(const ControllerDetails&) const = default;
};

// The pair. Of an answer that leaves one out, that one has the defaults.
struct MasterSystemDetails {
    ControllerDetails primary;
    ControllerDetails secondary;

    bool operator==(const MasterSystemDetails&) const = default;
};
