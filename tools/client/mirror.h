#pragma once

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "client/descriptor.h"

namespace pallctl {

// What is known of a device: the last descriptor and value of each parameter, in the order in which
// they were first heard of. Used by one thread.
//
// The device describes what it holds and announces what changes in two threads: an answer that was
// written before a change can come behind the change's announcement. So during a reading, what is
// announced stands, whatever the answers say; one that says otherwise makes the reading doubtful.
class Mirror {
  public:
    // Called with a parameter that now reads differently (in its human form), or that has a value
    // without ever having been described.
    using OnChange = std::function<void(const Parameter& parameter)>;

    // Changes are taken over silently until there is somebody to tell.
    void setOnChange(OnChange onChange) { onChange_ = std::move(onChange); }
    // From now on also with one whose value differs although it reads the same.
    void tellExactly() { exact_ = true; }

    // What a device that announces without end can make this keep.
    static constexpr size_t kMostParameters = 10'000;
    static constexpr size_t kMostHeldBack = 1000;  // values of one parameter, the last ones

    // A reading begins when the device is asked to describe itself, and ends with its last answer;
    // without that it goes on in the next. Announcements of what is still to be described wait
    // until it is; those of what never is are told at the end.
    void beginReading();
    void endReading();
    // About the last reading: which of these parameters it did not describe, and whether a
    // description differed from what was announced meanwhile.
    std::vector<std::string> missing(const std::vector<std::string>& names) const;
    bool isDoubtful() const { return reading_ && reading_->doubtful; }

    // A parameter as the device describes it. One that was not known is no change.
    void describe(Parameter parameter);
    // A value as the device announces it.
    void announce(const std::string& name, const cJSON* value);

    // Borrowed until the mirror goes; null when nothing is known by that full name.
    const Parameter* find(const std::string& name) const;
    // The same, null also when a value was announced but nothing ever described it.
    const Parameter* described(const std::string& name) const;
    std::vector<const Parameter*> all() const;

  private:
    struct News {
        UniqueJSON last;
        std::vector<UniqueJSON> heldBack;  // in their order; the last is among them
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
    void takeOver(const std::string& name, UniqueJSON value);
    void releaseNews(const std::string& name);
    void tell(const Parameter& parameter) const;

    OnChange onChange_;
    bool exact_ = false;
    std::optional<Reading> reading_;  // the last one
    std::map<std::string, Parameter> parameters_;
    std::vector<const Parameter*> order_;
};

}  // namespace pallctl
