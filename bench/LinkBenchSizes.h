// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

namespace tallywick::bench {

inline constexpr std::size_t kSmallBytes = 100;         // one small control request
inline constexpr std::size_t kLargeBytes = 20'000'000;  // one large reply

}  // namespace tallywick::bench
