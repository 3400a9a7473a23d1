#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "model/tosk_param.h"
#include "model/tosk_value.h"

// A value made of parameters, such as the state of a serial port. The members are held by value in
// their order; a member's identifier is its leaf alone. Copies of a struct, and of the parameters
// in it, share the member values. Belongs to one thread at a time.
class ToskStructValue : public ToskValue {
  public:
    ToskStructValue() : ToskValue(model::kTypeStruct) {}

    // Always empty: a struct has no text form.
    std::string toString() const override { return {}; }

    // Merges the members of `item` whose keys begin with "_d_". One that is held takes over the
    // value read (its listener hears of a change), any other is added; what is not readable as a
    // parameter is passed over. 0, or -1 for a null item and for one that would make the struct
    // hold more than StructSize allows; nothing is merged then.
    int fromJSON(const cJSON* item) override;

    // An object of the members, each under "_d_" and its leaf, without its identifier.
    util::UniqueJSON toJSON() const override;

    // Replaces all members by copies of the other's, prints a trace line for each on standard
    // output, and reports a change even if all are equal.
    bool updateFrom(const ToskParam& owner, const ToskValue* other) override;

    const std::vector<ToskParam>& params() const { return params_; }
    void addParam(const ToskParam& param) { params_.push_back(param); }

  private:
    // The place of the first member of each name, for members without a prefix.
    using Places = std::map<std::string, std::size_t>;
    bool fits(const Places& places, const cJSON* item) const;
    void notePlace(Places& places, std::size_t place) const;
    void readMember(Places& places, const cJSON* json, const std::string& memberName);

    std::vector<ToskParam> params_;
};
