#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <cjson/cJSON.h>

#include "model/tosk_type_names.h"
#include "util/json.h"

// The values that a parameter is meant to take. It is a description only and refuses no value. Held
// by parameters through shared ownership and not written once it is shared.
class ToskConstraint {
  public:
    explicit ToskConstraint(int32_t type = model::kConstraintUndefined) : type_(type) {}

    // Reads the type: 0, or -1 for a null item and one whose "type" is not a string.
    virtual int fromJSON(const cJSON* item);

    // A new object { "type": <name> }, owned by the caller.
    virtual util::UniqueJSON toJSON() const;

    virtual ~ToskConstraint() = default;

    int32_t type() const { return type_; }

  private:
    int32_t type_;
};

// A list of numbers, each with the name that people see.
class ToskIntegerChoiceConstraint : public ToskConstraint {
  public:
    struct Choice {
        int32_t value = 0;
        std::string name;
        bool operator==(const Choice&) const = default;
    };

    ToskIntegerChoiceConstraint() : ToskConstraint(model::kConstraintIntChoice) {}
    explicit ToskIntegerChoiceConstraint(std::vector<Choice> choices)
        : ToskConstraint(model::kConstraintIntChoice), choices_(std::move(choices)) {}

    // Forgets the choices in every case, then reads type and choices; a choice without "name" or
    // "value" is passed over. 0, or -1 when the item, its type or its "choices" is missing.
    int fromJSON(const cJSON* item) override;

    // { "type": <name>, "choices": [ { "value": <number>, "name": <text> }, … ] }
    util::UniqueJSON toJSON() const override;

    const std::vector<Choice>& choices() const { return choices_; }

  private:
    std::vector<Choice> choices_;
};

// An empty constraint of the class that the item's "type" names, to be read with its fromJSON;
// null when there is no such class.
std::unique_ptr<ToskConstraint> createConstraint(const cJSON* item);
