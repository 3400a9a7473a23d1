#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/tosk_persisted_structure.h"

namespace pallframe::doctor {

// The switches of services that the daemon saved, read as the daemon reads them at its start: a
// saved value overrides a marker file.
class SavedSwitches {
  public:
    // `text` is that of the state file; any other text has no switches.
    explicit SavedSwitches(const std::string& text);

    // Whether the daemon accepts the text.
    bool isUsable() const { return usable_; }

    // The saved value of a switch such as "sshEnabled": "0" or "1", an empty text for any other
    // value. Empty when it was not saved.
    std::optional<std::string_view> findState(std::string_view name) const;

  private:
    ToskPersistedStructure saved_;
    bool usable_ = false;
};

}  // namespace pallframe::doctor
