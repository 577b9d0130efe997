// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include <tallywick/model/Date.h>
#include <tallywick/model/LedgerFlag.h>
#include <tallywick/model/TransactionKind.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// One entry of an account's ledger; the host assigns id, dates and sequence.
struct LedgerEntry {
    std::string id;
    std::string accountId;
    TransactionKind kind;
    LedgerFlag flag;
    std::int64_t amount;  // a magnitude; the sign comes from kind
    std::string memo;
    Date createdAt;
    Date updatedAt;
    std::int64_t sequence;

    // The entry's effect on the balance. The flag plays no part. A debit of the
    // most negative amount cannot be negated and saturates to the largest value.
    std::int64_t signedAmount() const {
        switch (kind) {
            case TransactionKind::credit: return amount;
            case TransactionKind::debit:
                return amount == std::numeric_limits<std::int64_t>::min()
                           ? std::numeric_limits<std::int64_t>::max()
                           : -amount;
            case TransactionKind::note: return 0;
        }
        return 0;
    }

    friend bool operator==(const LedgerEntry&, const LedgerEntry&) = default;
};

template <>
inline constexpr bool isWireCodable<LedgerEntry> = true;

}  // namespace tallywick

template <>
struct std::hash<tallywick::LedgerEntry> {
    std::size_t operator()(const tallywick::LedgerEntry& v) const {
        return tallywick::hashFields(v.id, v.accountId, v.kind, v.flag, v.amount, v.memo, v.createdAt,
                                     v.updatedAt, v.sequence);
    }
};
