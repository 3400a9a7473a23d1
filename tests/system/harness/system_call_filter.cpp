#include "system_call_filter.h"

#include <linux/seccomp.h>
#include <sys/prctl.h>

#include "pallframe/simulation/system_call.h"

namespace harness {

void filterSystemCalls(std::span<sock_filter> steps) {
    const sock_fprog filter{static_cast<unsigned short>(steps.size()), steps.data()};
    pallframe::simulation::check(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "no new privileges");
    pallframe::simulation::check(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter), "seccomp");
}

}  // namespace harness
