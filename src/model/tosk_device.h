#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/saved_text.h"
#include "model/tosk_menu.h"
#include "model/tosk_object.h"
#include "model/tosk_param.h"

// A set of parameters and the menu groups (its children) that arrange them. Owns its parameters
// and the groups that it read itself; groups that others added are theirs. The set is built on the
// main thread before the poll thread starts and stays the same from then on.
class ToskDevice : public ToskObject {
  public:
    // In ascending byte order of the keys.
    using Params = std::map<std::string, std::unique_ptr<ToskParam>, std::less<>>;

    ToskDevice() : ToskObject(model::kKindDevice) {}
    ToskDevice(const ToskDevice&) = delete;
    ToskDevice& operator=(const ToskDevice&) = delete;

    // Reads slot, parameters and menu groups and returns -1 in every case, so that the result does
    // not distinguish success from failure. A foreign "type" or no "slot" ends the read before the
    // first parameter. A parameter replaces one of the same identifier; unreadable ones are
    // dropped. Groups are listed without a link to their parent.
    int fromJSON(const cJSON* item) override;

    // The device's descriptor: slot, menu groups and published parameters, owned by the caller.
    util::UniqueJSON toJSON() const override;

    // An item that is printed in the same way in the state file, where the device is an element of
    // the list: the texts of parameters that have not changed since the last call are not made
    // again.
    util::UniqueJSON toSavedJSON() const;

    // A new object of all values, published or not, each under its parameter's full identifier.
    util::UniqueJSON valuesToJSON() const;

    // The parameter that was stored under this text, even if it was renamed; null for none.
    ToskParam* findParam(std::string_view key) const;

    // The first parameter, in key order, of exactly this display name; null for none.
    ToskParam* findParamByName(const std::string& name) const;

    // Stores `param`, which must not be null, under its full identifier text, and destroys one
    // stored before under the same text. Returns the stored parameter.
    ToskParam* addParam(std::unique_ptr<ToskParam> param);

    // Gives the parameter stored under `key` the identifier `oid` and stores it under that text, as
    // addParam does. Without such a parameter nothing happens.
    void rename(const std::string& key, const ToskOID& oid);

    const Params& params() const { return params_; }
    int32_t slot() const { return slot_; }
    void setSlot(int32_t slot) { slot_ = slot; }

  private:
    bool readHead(const cJSON* item);
    void readParams(const cJSON* params);
    void readMenuGroups(const cJSON* groups);
    util::UniqueJSON menuGroupsToJSON() const;
    util::UniqueJSON makeItem(util::UniqueJSON publishedParams) const;
    util::UniqueJSON publishedParamsToJSON() const;
    util::UniqueJSON publishedParamsToRaw() const;

    Params params_;
    mutable std::list<model::SavedText> savedTexts_;  // in the order of the published parameters
    int32_t slot_ = 0;
    std::vector<std::unique_ptr<ToskMenuGroup>> readGroups_;
};
