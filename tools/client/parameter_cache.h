#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/descriptor.h"

namespace client {

// The last descriptor and value of each parameter of a device, in the order of their first
// appearance. Used by one thread.
//
// The device answers requests and announces changes in two threads: an answer that was written
// before a change can arrive after its notification. So during a reading notifications take
// precedence over answers, and an answer that differs makes the reading doubtful.
class ParameterCache {
  public:
    // Called with a parameter whose formatted value has changed, or that has a value but no
    // descriptor yet.
    using OnChange = std::function<void(const Parameter& parameter)>;

    // Before this call, changes are not reported.
    void setOnChange(OnChange onChange) { onChange_ = std::move(onChange); }
    // From now on, changes of the raw value are reported even if the formatted value is the same.
    void compareExactly() { exact_ = true; }

    // Limits of the memory that a device can use.
    static constexpr size_t kMaxParameters = 10'000;
    static constexpr size_t kMaxHeldBack = 1000;  // values of one parameter, the last ones

    // A reading begins with the request for descriptors and ends with its last answer; without that
    // answer it continues in the next reading. Notifications of parameters that are not described
    // yet are held back until they are, or until the end of the reading.
    void beginReading();
    void endReading();
    // About the last reading: which of these parameters it did not describe, and whether an answer
    // differed from a notification.
    std::vector<std::string> missing(const std::vector<std::string>& names) const;
    bool isDoubtful() const { return reading_ && reading_->doubtful; }

    // A descriptor from the device. A new parameter is not reported as a change.
    void describe(Parameter parameter);
    // A value from a notification.
    void announce(const std::string& name, const cJSON* value);

    // By full name; null when unknown. Owned by the cache.
    const Parameter* find(const std::string& name) const;
    // The same, but null without a descriptor.
    const Parameter* described(const std::string& name) const;
    std::vector<const Parameter*> all() const;

  private:
    struct News {
        util::UniqueJSON last;
        std::vector<util::UniqueJSON> heldBack;  // in their order; the last is among them
    };
    struct Reading {
        bool isOver = false;
        bool doubtful = false;
        std::set<std::string> described;
        std::map<std::string, News> announced;
    };

    bool isReading() const { return reading_ && !reading_->isOver; }
    Parameter& known(const std::string& name);
    std::string reads(const Descriptor& descriptor, const cJSON* value) const;
    void takeOver(const std::string& name, util::UniqueJSON value);
    void releaseNews(const std::string& name);
    void tell(const Parameter& parameter) const;

    OnChange onChange_;
    bool exact_ = false;
    std::optional<Reading> reading_;  // the last one
    std::map<std::string, Parameter> parameters_;
    std::vector<const Parameter*> order_;
};

}  // namespace client
