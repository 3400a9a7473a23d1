#pragma once

#include <new>
#include <utility>

#include "model/json.h"

// For messages: one that lacks a part for want of memory would say something else.

// The item; throws std::bad_alloc when there is none.
inline UniqueJSON made(UniqueJSON item) {
    if (!item) {
        throw std::bad_alloc();
    }
    return item;
}

// Appends the item, or throws std::bad_alloc.
inline void addMade(cJSON* object, const char* key, UniqueJSON item) {
    if (!addMember(object, key, made(std::move(item)))) {
        throw std::bad_alloc();
    }
}
