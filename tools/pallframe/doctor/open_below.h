#pragma once

#include <string>

#include "util/files.h"

namespace pallframe::doctor {

// Opens a path as a process would whose root directory is `root`: no link and no ".." leads out of
// it. `flags` are those of open(2) for the file itself; with O_NOFOLLOW a link at the end of the
// path is not followed. The descriptor is invalid on failure, with the reason in errno.
//
// openat2(2) has this as RESOLVE_IN_ROOT since Linux 5.6, but control cards run older kernels. In
// contrast to it, a link that is replaced while the path is followed may be read twice, so this is
// for diagnosis and not a protection against the owner of the files.
util::UniqueDescriptor openBelow(const util::UniqueDescriptor& root, const std::string& path,
                                 int flags);

}  // namespace pallframe::doctor
