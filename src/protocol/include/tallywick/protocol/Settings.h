// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include <tallywick/model/Hashing.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// The host's two settings.
struct Settings {
    bool allowUnauthenticated;        // agents known by client information need no sign-up
    std::int64_t startingPoints = 0;  // opening credit of each new account

    friend bool operator==(const Settings&, const Settings&) = default;
};

template <>
inline constexpr bool isWireCodable<Settings> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::Settings> {
    std::size_t operator()(const tallywick::Settings& v) const {
        return tallywick::hashFields(v.allowUnauthenticated, v.startingPoints);
    }
};
