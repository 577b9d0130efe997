// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/model/Enumeration.h>
#include <tallywick/model/Hashing.h>

namespace tallywick {

// What an entry does to the balance: adds points, takes them away, or records text only.
enum class TransactionKind { credit, debit, note };

template <>
struct EnumTraits<TransactionKind> {
    static constexpr std::array<std::pair<TransactionKind, std::string_view>, 3> cases{{
        {TransactionKind::credit, "credit"},
        {TransactionKind::debit, "debit"},
        {TransactionKind::note, "note"},
    }};
    static constexpr bool listsAllCases = true;
};

}  // namespace tallywick

template <>
struct std::hash<tallywick::TransactionKind> : tallywick::EnumHash<tallywick::TransactionKind> {};
