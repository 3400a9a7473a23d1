#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "model/tosk_oid.h"

namespace model {

// The identifier of one parameter, which one thread may rename while others read it without a lock.
// An identifier is never written again: a rename publishes another one and keeps the old one for
// threads that still hold it, and for later renames to it. So the memory grows with the number of
// different names, not of renames.
class SharedOID {
  public:
    SharedOID();
    SharedOID(const SharedOID& other);
    SharedOID& operator=(const SharedOID& other);
    ~SharedOID() = default;

    // The identifier of the moment, valid as long as this object. Any thread.
    const ToskOID& get() const { return *current_.load(std::memory_order_acquire); }

    // Publishes `oid`; writes nothing when it is the current one. One thread at a time.
    void set(const ToskOID& oid);

  private:
    const ToskOID* keep(const ToskOID& oid);

    std::vector<std::unique_ptr<const ToskOID>> kept_;
    std::atomic<const ToskOID*> current_;
};

}  // namespace model
