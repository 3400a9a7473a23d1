#pragma once

#include <string>

#include "util/json.h"

// An object that can be read from a JSON item and written to one: the base of the parameter model.
// Belongs to the thread of its owner.
class AbstractJSONBackedData {
  public:
    virtual ~AbstractJSONBackedData() = default;

    // Takes over what the item holds. 0 when that worked, otherwise -1: the item is missing or
    // unusable. Never throws.
    virtual int fromJSON(const cJSON* item) = 0;

    // A new item, or null when it could not be made.
    virtual util::UniqueJSON toJSON() const = 0;

    // For derived classes with more to do, or a text to tell; nothing, and the empty text, here.
    virtual void refresh() {}
    virtual std::string describe() const { return {}; }

  protected:
    AbstractJSONBackedData() = default;
    AbstractJSONBackedData(const AbstractJSONBackedData&) = default;
    AbstractJSONBackedData& operator=(const AbstractJSONBackedData&) = default;
};
