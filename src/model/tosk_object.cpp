#include "model/tosk_object.h"

void ToskObject::addChild(ToskObject* child) {
    child->parent_ = this;
    listChild(child);
}
