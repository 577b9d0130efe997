// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/model/Enumeration.h>
#include <tallywick/model/Hashing.h>

namespace tallywick {

// Qualifies an entry; only a bonus credit and a penalty debit are shown as such.
enum class LedgerFlag { none, bonus, penalty };

template <>
struct EnumTraits<LedgerFlag> {
    static constexpr std::array<std::pair<LedgerFlag, std::string_view>, 3> cases{{
        {LedgerFlag::none, "none"},
        {LedgerFlag::bonus, "bonus"},
        {LedgerFlag::penalty, "penalty"},
    }};
    static constexpr bool listsAllCases = true;
};

}  // namespace tallywick

template <>
struct std::hash<tallywick::LedgerFlag> : tallywick::EnumHash<tallywick::LedgerFlag> {};
