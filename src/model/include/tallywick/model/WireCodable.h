// SPDX-License-Identifier: MIT
#pragma once

namespace tallywick {

// True for every record and message that TallywickCoding writes and reads.
// Each type's own header turns it on.
template <class T>
inline constexpr bool isWireCodable = false;

template <class T>
concept WireCodable = isWireCodable<T>;

}  // namespace tallywick
