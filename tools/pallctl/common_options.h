#pragma once

#include <cstdint>
#include <string>

#include "verbs.h"

namespace pallctl {

// The options that every verb takes, as they stand on the command line. Lives as long as the
// command line that it describes them to.
class CommonOptions {
  public:
    explicit CommonOptions(Verb program);
    CommonOptions(const CommonOptions&) = delete;
    CommonOptions& operator=(const CommonOptions&) = delete;

    // What was read, for the standard output of this process.
    Common common() const;

  private:
    void describeReach(Verb program);
    void describeStyle(Verb program);

    std::string object_;
    uint16_t port_ = Reach().port;
    std::string timeout_;
    std::string wait_;
    bool json_ = false;
    bool keyvalue_ = false;
    bool raw_ = false;
};

}  // namespace pallctl
