#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <cjson/cJSON.h>

#include "model/tosk_type_names.h"
#include "util/json.h"
#include "util/json_text.h"
#include "util/relaxed.h"

class ToskParam;

// The value of a parameter. Owned, possibly together with copies of the parameter, by the
// parameters that show it. The numbers inside may be read and written by the main and the poll
// thread at once; texts and structs belong to one thread at a time.
class ToskValue {
  public:
    virtual ~ToskValue() = default;

    // The value as text for people and logs.
    virtual std::string toString() const = 0;

    // Takes the value from `item`: 0, or -1 and the old value when the item is null or unusable.
    virtual int fromJSON(const cJSON* item);

    // A new item of the value, owned by the caller; null when a kind has no JSON form.
    virtual util::UniqueJSON toJSON() const;

    // The value as JSON text; "null" when a kind has no JSON form.
    virtual util::JSONText toText() const;

    // Whether updateFrom would look at `other` at all.
    virtual bool isCompatible(const ToskValue& other) const;

    // Copies `other` (null and foreign kinds change nothing) and tells whether listeners should
    // hear of it. `owner` is the parameter that holds this value. Leaves `changed` alone.
    virtual bool updateFrom(const ToskParam& owner, const ToskValue* other) = 0;

    // Reads `item` and tells whether the held value became another one; the only operation that
    // clears `changed`. Null or unusable items yield false, a null one without touching `changed`.
    virtual bool setFromJSONChanged(const cJSON* item);

    // The code of the value's own kind, which is kTypeInt32 for every integer.
    int32_t type() const { return type_; }
    bool changed() const { return changed_.get(); }

  protected:
    explicit ToskValue(int32_t type) : type_(type) {}
    ToskValue(const ToskValue&) = default;
    ToskValue& operator=(const ToskValue&) = default;
    void markChanged() { changed_.set(true); }

  private:
    int32_t type_;
    util::Relaxed<bool> changed_;
};

// A whole number of 64 bits, for INT16 and INT32 alike.
class ToskIntegerValue : public ToskValue {
  public:
    explicit ToskIntegerValue(int64_t value = 0) : ToskValue(model::kTypeInt32), value_(value) {}

    std::string toString() const override;
    // Any item reads as its number, cut toward zero; an item without a number is 0.
    int fromJSON(const cJSON* item) override;
    util::UniqueJSON toJSON() const override;
    util::JSONText toText() const override;
    bool isCompatible(const ToskValue& other) const override;
    bool updateFrom(const ToskParam& owner, const ToskValue* other) override;
    virtual int valueClass() const { return 1; }

    int64_t value() const { return value_.get(); }
    // Stores, and sets `changed` when the number differs.
    void set(int64_t value);

  private:
    util::Relaxed<int64_t> value_;
};

// A reading. Changes below the owner's precision are stored but not reported by updateFrom.
class ToskFloatValue : public ToskValue {
  public:
    explicit ToskFloatValue(double value = 0) : ToskValue(model::kTypeFloat), value_(value) {}

    // Six decimals, always.
    std::string toString() const override;
    // Any item reads as its number; an item without a number is 0.
    int fromJSON(const cJSON* item) override;
    util::UniqueJSON toJSON() const override;
    util::JSONText toText() const override;
    bool updateFrom(const ToskParam& owner, const ToskValue* other) override;
    virtual int valueClass() const { return 1; }

    double value() const { return value_.get(); }
    // Stores, and sets `changed` when the numbers compare unequal, as a NaN always does.
    void set(double value);

  private:
    util::Relaxed<double> value_;
};

// A text. Refuses items other than JSON strings, and texts of more than 1 MiB.
class ToskStringValue : public ToskValue {
  public:
    static constexpr std::size_t kMaxBytes = std::size_t{1} * 1024 * 1024;

    explicit ToskStringValue(std::string text = {})
        : ToskValue(model::kTypeString), text_(std::move(text)) {}

    std::string toString() const override { return text_; }
    int fromJSON(const cJSON* item) override;
    util::UniqueJSON toJSON() const override;
    util::JSONText toText() const override;
    bool updateFrom(const ToskParam& owner, const ToskValue* other) override;
    virtual int valueClass() const { return 2; }

    const std::string& text() const { return text_; }

  private:
    std::string text_;
};

// A new default value of the kind that belongs to a value-type code. For a code without a value
// class it prints "InvalidToskParamType: …" on standard output and returns null.
std::unique_ptr<ToskValue> createValue(int32_t typeCode);
