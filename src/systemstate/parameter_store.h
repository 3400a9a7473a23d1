#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "model/tosk_persisted_structure.h"

namespace systemstate {

// The parameters of the device, by the keys they were stored under. A change has two entries: a set
// is carried out, a reading is only published. Owned by SystemState. Which parameters there are is
// settled before the poll thread starts; from then on both threads read and write their numbers,
// and the main thread alone their texts.
class ParameterStore {
  public:
    // Called with each reading that changed, on the thread that published it.
    using ReadingChanged = std::function<void(ToskParam& param)>;

    // Keeps `structure`, whose first device has the parameters.
    ParameterStore(const ToskPersistedStructure& structure, ReadingChanged readingChanged);

    // The first device; null until one was read or built.
    ToskDevice* device() const;
    // Null when there is no such parameter.
    ToskParam* find(std::string_view key) const;

    // Set a value that differs from the held one and call the parameter's listener, which performs
    // the reaction to the set. A missing parameter is passed over, and so is one whose value is of
    // another kind.
    void setInteger(std::string_view key, int64_t value);
    void setFloat(std::string_view key, double value);
    void setText(std::string_view key, const std::string& value);

    // Store a reading that differs from the held one and report it. Nothing is carried out; what
    // is passed over is the same. True when it was reported.
    bool publishInteger(std::string_view key, int64_t reading);
    bool publishFloat(std::string_view key, double reading);

  private:
    void set(std::string_view key, const ToskValue& value);
    bool publish(std::string_view key, const ToskValue& reading);

    const ToskPersistedStructure& structure_;
    const ReadingChanged readingChanged_;
};

}  // namespace systemstate
