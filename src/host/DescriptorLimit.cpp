// SPDX-License-Identifier: MIT
#include <tallywick/host/DescriptorLimit.h>

#include <sys/resource.h>

#include <algorithm>

namespace tallywick {

std::size_t raiseDescriptorLimit(std::size_t wanted) {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 256;
    if (limit.rlim_cur < limit.rlim_max) {
        rlimit raised = limit;
        raised.rlim_cur = limit.rlim_max;
        if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) limit = raised;
    }
    constexpr rlim_t reserve = 64;
    return limit.rlim_cur == RLIM_INFINITY || limit.rlim_cur > wanted + reserve
               ? wanted
               : static_cast<std::size_t>(std::max<rlim_t>(limit.rlim_cur, 2 * reserve) - reserve);
}

}  // namespace tallywick
