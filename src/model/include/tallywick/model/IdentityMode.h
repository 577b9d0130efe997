// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/model/Enumeration.h>
#include <tallywick/model/Hashing.h>

namespace tallywick {

// How the host recognises the agent behind an account: by credential or by client information.
enum class IdentityMode { credential, clientInfo };

template <>
struct EnumTraits<IdentityMode> {
    static constexpr std::array<std::pair<IdentityMode, std::string_view>, 2> cases{{
        {IdentityMode::credential, "credential"},
        {IdentityMode::clientInfo, "clientInfo"},
    }};
    static constexpr bool listsAllCases = false;
};

}  // namespace tallywick

template <>
struct std::hash<tallywick::IdentityMode> : tallywick::EnumHash<tallywick::IdentityMode> {};
