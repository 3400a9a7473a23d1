#include "model/shared_oid.h"

#include <algorithm>

namespace model {

namespace {

// The identifier of every parameter before it is named.
const ToskOID& emptyOID() {
    static const ToskOID oid;
    return oid;
}

}  // namespace

SharedOID::SharedOID() : current_(&emptyOID()) {}

SharedOID::SharedOID(const SharedOID& other) : SharedOID() {
    set(other.get());
}

SharedOID& SharedOID::operator=(const SharedOID& other) {
    set(other.get());
    return *this;
}

void SharedOID::set(const ToskOID& oid) {
    if (!(oid == get())) {
        current_.store(keep(oid), std::memory_order_release);
    }
}

const ToskOID* SharedOID::keep(const ToskOID& oid) {
    const auto equal = [&oid](const auto& kept) { return *kept == oid; };
    const auto found = std::find_if(kept_.begin(), kept_.end(), equal);
    if (found != kept_.end()) {
        return found->get();
    }
    return kept_.emplace_back(std::make_unique<const ToskOID>(oid)).get();
}

}  // namespace model
