#pragma once

#include <time.h>

#include <cstdlib>
#include <optional>
#include <string>

// Sets the local time zone, in the notation of the variable TZ, and puts back what was there.
class LocalZone {
  public:
    explicit LocalZone(const char* zone) {
        if (const char* const before = std::getenv("TZ")) {
            before_ = before;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~LocalZone() {
        if (before_) {
            setenv("TZ", before_->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    LocalZone(const LocalZone&) = delete;
    LocalZone& operator=(const LocalZone&) = delete;

  private:
    std::optional<std::string> before_;
};

inline constexpr const char* kUtc = "UTC0";
inline constexpr const char* kThreeHoursEast = "EAST-3";
inline constexpr const char* kFiveHoursWest = "WEST+5";
// One hour east, two from the last Sunday of March, 02:00, to the last of October, 03:00.
inline constexpr const char* kCentralEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
