#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/tosk_persisted_structure.h"

namespace pallframe::doctor {

// The switches of services as an earlier life of the daemon saved them, read as the daemon reads
// them at its start: what is saved counts more than a marker file.
class SavedSwitches {
  public:
    // Of the state file's text; of any other text there is none.
    explicit SavedSwitches(const std::string& text);

    // Whether the daemon starts from that text at all.
    bool isUsable() const { return usable_; }

    // What stands there for a switch, such as "sshEnabled": "0" or "1", and an empty text for what
    // is neither. Nothing when it was not saved.
    std::optional<std::string_view> findState(std::string_view name) const;

  private:
    ToskPersistedStructure saved_;
    bool usable_ = false;
};

}  // namespace pallframe::doctor
