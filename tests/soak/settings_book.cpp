#include "soaking/settings_book.h"

#include <algorithm>

namespace soak {

namespace {

constexpr std::array<const char*, 3> kNames{"ipAddress", "netmask", "gateway"};

}  // namespace

std::optional<size_t> SettingsBook::place(const std::string& name) {
    const auto* const found = std::find(kNames.begin(), kNames.end(), name);
    return found == kNames.end() ? std::nullopt
                                 : std::optional(static_cast<size_t>(found - kNames.begin()));
}

void SettingsBook::edited(const Settings& settings) {
    settings_ = settings;
    ++edition_;
}

void SettingsBook::acknowledged(const std::string& name, uint32_t value, uint64_t edition) {
    if (const auto at = place(name)) {
        settings_[*at] = edition == edition_ ? Setting(value) : std::nullopt;
    }
}

void SettingsBook::lostTrackOf(const std::string& name) {
    if (const auto at = place(name)) {
        settings_[*at].reset();
    }
}

bool SettingsBook::agrees(const Settings& inFile) const {
    for (size_t i = 0; i < settings_.size(); ++i) {
        if (settings_[i] && settings_[i] != inFile[i]) {
            return false;
        }
    }
    return true;
}

bool SettingsBook::allKnown() const {
    return std::ranges::all_of(settings_, [](const Setting& one) { return one.has_value(); });
}

}  // namespace soak
