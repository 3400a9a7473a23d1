#pragma once

#include <new>
#include <utility>

#include "util/json.h"

namespace lumo {

// For messages: a message that lacks a part because memory ran out would mean something else.

// The item; throws std::bad_alloc for null.
inline util::UniqueJSON requireItem(util::UniqueJSON item) {
    if (!item) {
        throw std::bad_alloc();
    }
    return item;
}

// Appends the item, or throws std::bad_alloc.
inline void addRequired(cJSON* object, const char* key, util::UniqueJSON item) {
    if (!util::addMember(object, key, requireItem(std::move(item)))) {
        throw std::bad_alloc();
    }
}

}  // namespace lumo
