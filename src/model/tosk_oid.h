#pragma once

#include <string>

#include "model/tosk_object.h"

// The identifier of a parameter: a prefix and a leaf, "system" and "ipAddress". Its text, both
// joined by a dot, is the parameter's key everywhere. A menu lists its parameters by these.
class ToskOID : public ToskObject {
  public:
    ToskOID() : ToskObject(model::kKindOID) {}

    // An identifier parsed from `text`; without a dot in it both parts stay empty.
    ToskOID(const std::string& text, int dotIndex);

    // An identifier of exactly these parts, even if they contain dots.
    static ToskOID fromParts(std::string prefix, std::string leaf);

    // Splits `text` at its `dotIndex`-th dot, or at its last one when there are fewer: true.
    // False, and no change, when no dot was found.
    bool parse(const std::string& text, int dotIndex);

    // Prefix, a dot, leaf, also when one or both are empty.
    std::string toString() const;

    const std::string& prefix() const { return prefix_; }
    const std::string& leaf() const { return leaf_; }

    // Splits the item's text at the first dot: 0, also when there is none and nothing changes. -1
    // for a null item and one that is not a string.
    int fromJSON(const cJSON* item) override;

    // The full text as a JSON string.
    util::UniqueJSON toJSON() const override;

    // Always true: an identifier contains nothing.
    bool isEmpty() const override { return true; }

    // Equal when prefix and leaf are: the same text may be split elsewhere.
    bool operator==(const ToskOID& other) const {
        return leaf_ == other.leaf_ && prefix_ == other.prefix_;
    }

  private:
    std::string leaf_;
    std::string prefix_;
};
