#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/json_backed_data.h"
#include "model/tosk_type_names.h"

// The common base of identifiers, menus, menu groups and devices: a name, the numbers and flags
// that menus show, and a list of child objects that it does not own. Main thread only, but for
// identifiers, which are not written once they are shared.
class ToskObject : public AbstractJSONBackedData {
  public:
    // True when there are no children.
    virtual bool isEmpty() const { return children_.empty(); }

    // Appends `child`, which must outlive its place in the list, and becomes its parent.
    void addChild(ToskObject* child) {
        child->parent_ = this;
        listChild(child);
    }
    const std::vector<ToskObject*>& children() const { return children_; }
    ToskObject* parent() const { return parent_; }

    int32_t kind() const { return kind_; }

    const std::string& name() const { return name_; }
    void setName(std::string name) { name_ = std::move(name); }
    int32_t id() const { return id_; }
    void setId(int32_t id) { id_ = id; }
    int32_t unique() const { return unique_; }
    void setUnique(int32_t unique) { unique_ = unique; }
    bool disabled() const { return disabled_; }
    void setDisabled(bool disabled) { disabled_ = disabled; }
    bool hidden() const { return hidden_; }
    void setHidden(bool hidden) { hidden_ = hidden; }

  protected:
    explicit ToskObject(int32_t kind) : kind_(kind) {}
    ToskObject(const ToskObject&) = default;
    ToskObject& operator=(const ToskObject&) = default;

    // Appends `child` without becoming its parent.
    void listChild(ToskObject* child) { children_.push_back(child); }

  private:
    std::string name_;
    int32_t id_ = 0;
    int32_t unique_ = 0;
    bool disabled_ = false;
    bool hidden_ = false;
    std::vector<ToskObject*> children_;
    ToskObject* parent_ = nullptr;
    int32_t kind_;
};
