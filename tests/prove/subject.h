#pragma once

#include <sys/resource.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "harness/child.h"

namespace prove {

// How a daemon is started.
struct Launch {
    std::string program;                             // its path
    std::vector<std::string> arguments;              // behind the path
    std::map<std::string, std::string> environment;  // added to the own one
    std::map<int, rlim_t> limits;                    // RLIMIT_…, soft and hard
    int output = -1;                                 // its standard output and error; -1 is
    int error = -1;                                  //   /dev/null
    bool closed = false;                             // descriptors 0 to 2 are closed instead
};

// The daemon under proof, as built and unmodified.
class Subject : public harness::Child {
  public:
    explicit Subject(const Launch& launch);

    bool hasEnded();
};

}  // namespace prove
