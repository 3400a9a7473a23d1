#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <cjson/cJSON.h>

#include "model/shared_oid.h"
#include "model/tosk_constraint.h"
#include "model/tosk_value.h"
#include "util/json.h"

class ToskParam;

// Hears of the value changes of the parameters that name it as their listener.
class ToskValueChangeListener {
  public:
    // Called inside the operation that set the value, on its thread.
    virtual void valueChanged(ToskParam* param) = 0;

  protected:
    ~ToskValueChangeListener() = default;
};

// One published setting, reading or command: an identifier, how to show it, and a typed value,
// which the first set creates if the parameter has none. Owned by its device or struct. Reading
// oid() and the numbers of the value is safe while another thread changes them; everything else is
// arranged before the threads start. A copy shares constraint and value with its original.
class ToskParam {
  public:
    // More decimals than these have no power of ten in 64 bits.
    static constexpr int32_t kMaxPrecision = 19;

    ToskParam() = default;
    ToskParam(const ToskParam&) = default;
    ToskParam& operator=(const ToskParam&) = default;
    virtual ~ToskParam() = default;

    // Reads the parameter's JSON, member by member: 0, or -1 when the item is null, "type" is
    // missing or no identifier is known; what was read before that stays.
    virtual int fromJSON(const cJSON* item);

    // The parameter's whole JSON, as descriptors and the state file carry it; owned by the caller.
    virtual util::UniqueJSON toJSON() const;

    // The path of set requests: 0 and the listener is called, even if the value is equal; -1
    // without a call when the item is null or refused, or the type has no value class.
    int setValueFromJSON(const cJSON* item);

    // Sets the value, and calls the listener only if it differs.
    void setValueFromJSONIfChanged(const cJSON* item);

    // The path of new readings: copies `other` (null changes nothing) into the own value, and tells
    // the listener when the value's kind reports a change. Returns that report.
    bool setValueFrom(const ToskValue* other);

    // The same without a word to the listener.
    bool storeValueFrom(const ToskValue* other);

    // A new item of the value, owned by the caller; JSON null when no value is held.
    util::UniqueJSON valueToJSON() const;

    // The same as JSON text.
    util::JSONText valueToText() const;

    // The value as text for people; empty when no value is held.
    std::string valueToString() const;

    // Valid as long as the parameter, also across a rename. Any thread.
    const ToskOID& oid() const { return oid_.get(); }
    // Main thread. Does not move the parameter inside its device.
    void setOid(const ToskOID& oid) { oid_.set(oid); }

    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    // A ToskValueType. Changing it leaves a held value as it is.
    int32_t type() const { return type_; }
    void setType(int32_t type) { type_ = type; }
    // For clients to respect: sets are carried out all the same.
    bool readonly() const { return readonly_; }
    void setReadonly(bool readonly) { readonly_ = readonly; }
    // The widget with which clients should show the value; empty when they may choose.
    const std::string& widget() const { return widget_; }
    void setWidget(std::string widget) { widget_ = std::move(widget); }
    // Decimals shown, below which float changes are not reported; negative for none. At most
    // kMaxPrecision is kept.
    int32_t precision() const { return precision_; }
    void setPrecision(int32_t precision);
    const std::shared_ptr<ToskConstraint>& constraint() const { return constraint_; }
    void setConstraint(std::shared_ptr<ToskConstraint> c) { constraint_ = std::move(c); }
    // Negative lengths are not given.
    int32_t maxlength() const { return maxlength_; }
    void setMaxlength(int32_t length) { maxlength_ = length; }
    int32_t totallength() const { return totallength_; }
    void setTotallength(int32_t length) { totallength_ = length; }
    const std::shared_ptr<ToskValue>& value() const { return value_; }
    void setValue(std::shared_ptr<ToskValue> value) { value_ = std::move(value); }
    // Not owned; null for none.
    ToskValueChangeListener* listener() const { return listener_; }
    void setListener(ToskValueChangeListener* listener) { listener_ = listener; }
    // Whether the device's JSON, and so the state file, contains the parameter.
    bool published() const { return published_; }
    void setPublished(bool published) { published_ = published; }

  private:
    bool readOid(const cJSON* item);
    bool readType(const cJSON* item);
    void readDisplay(const cJSON* item);
    void readValue(const cJSON* item);
    void readLengths(const cJSON* item);
    void readConstraint(const cJSON* item);
    ToskValue* valueOnDemand();
    void notify();

    model::SharedOID oid_;
    std::string name_;
    int32_t type_ = model::kTypeInt16;
    bool readonly_ = false;
    std::string widget_;
    int32_t precision_ = -1;
    std::shared_ptr<ToskConstraint> constraint_;
    int32_t maxlength_ = -1;
    int32_t totallength_ = -1;
    std::shared_ptr<ToskValue> value_;
    ToskValueChangeListener* listener_ = nullptr;
    bool published_ = true;
};
