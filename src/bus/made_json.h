#pragma once

#include <new>
#include <utility>

#include "util/json.h"

// For messages: one that lacks a part for want of memory would say something else.

// The item; throws std::bad_alloc when there is none.
inline util::UniqueJSON made(util::UniqueJSON item) {
    if (!item) {
        throw std::bad_alloc();
    }
    return item;
}

// Appends the item, or throws std::bad_alloc.
inline void addMade(cJSON* object, const char* key, util::UniqueJSON item) {
    if (!util::addMember(object, key, made(std::move(item)))) {
        throw std::bad_alloc();
    }
}
