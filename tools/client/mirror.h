#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "client/descriptor.h"

namespace pallctl {

// What is known of a device: the last descriptor and value of each parameter, in the order in which
// they were first heard of. Used by one thread.
class Mirror {
  public:
    // Called with a parameter that now reads differently (in its human form), or that has a value
    // without ever having been described.
    using OnChange = std::function<void(const Parameter& parameter)>;

    // Changes are taken over silently until there is somebody to tell.
    void setOnChange(OnChange onChange) { onChange_ = std::move(onChange); }

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
    Parameter& known(const std::string& name);
    void tell(const Parameter& parameter) const;

    OnChange onChange_;
    std::map<std::string, Parameter> parameters_;
    std::vector<const Parameter*> order_;
};

}  // namespace pallctl
