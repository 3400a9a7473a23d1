#pragma once

#include <sys/resource.h>

// No file can be opened and no pipe be made by this process while this lives; names can still be
// looked up and changed. An object that is used meanwhile has to have been used before: a sanitizer
// opens a pipe to look at a class that it meets for the first time.
class NoFreeDescriptors {
  public:
    NoFreeDescriptors() {
        getrlimit(RLIMIT_NOFILE, &before_);
        rlimit none = before_;
        none.rlim_cur = 3;  // the standard streams; poll(2) takes no more than the limit
        setrlimit(RLIMIT_NOFILE, &none);
    }
    ~NoFreeDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
    NoFreeDescriptors(const NoFreeDescriptors&) = delete;
    NoFreeDescriptors& operator=(const NoFreeDescriptors&) = delete;

  private:
    rlimit before_{};
};
