#pragma once

#include <memory>
#include <vector>

#include "model/tosk_object.h"
#include "model/tosk_oid.h"

// One page of parameters as clients show it: its children are the identifiers on it. Identifiers
// that it read itself live as long as it does; those that others added are theirs. Main thread.
class ToskMenu : public ToskObject {
  public:
    ToskMenu() : ToskObject(model::kKindMenu) {}
    ToskMenu(const ToskMenu&) = delete;
    ToskMenu& operator=(const ToskMenu&) = delete;

    // Reads what is there and appends the identifiers: 0, or -1 for a null item. The flags are
    // true only for the JSON literal true.
    int fromJSON(const cJSON* item) override;
    util::UniqueJSON toJSON() const override;

  private:
    void readOids(const cJSON* oids);

    std::vector<std::unique_ptr<ToskOID>> readOids_;
};

// A named set of menus. Menus that it read itself live as long as it does; those that others added
// are theirs. Main thread.
class ToskMenuGroup : public ToskObject {
  public:
    ToskMenuGroup() : ToskObject(model::kKindMenuGroup) {}
    ToskMenuGroup(const ToskMenuGroup&) = delete;
    ToskMenuGroup& operator=(const ToskMenuGroup&) = delete;

    // Reads what is there and appends the menus: 0, or -1 for a null item.
    int fromJSON(const cJSON* item) override;
    util::UniqueJSON toJSON() const override;

  private:
    std::vector<std::unique_ptr<ToskMenu>> readMenus_;
};
