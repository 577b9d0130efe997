// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <limits>

#include <tallywick/model/TransactionKind.h>

namespace tallywick {

// The one balance rule: an account's balance is the sum of its entries'
// signed amounts. Changes that would leave the 64-bit range are refused, but
// deleting entries can still carry a sum past it, so the sum is kept wider
// and reported held to the range.
class Balance {
public:
    __extension__ typedef __int128 Wide;

    static Wide effect(TransactionKind kind, std::int64_t amount) {
        switch (kind) {
            case TransactionKind::credit: return amount;
            case TransactionKind::debit: return -Wide{amount};
            case TransactionKind::note: return 0;
        }
        return 0;
    }

    // Whether the balance after this change stays in the 64-bit range.
    bool allows(Wide change) const {
        const Wide after = sum_ + change;
        return after >= std::numeric_limits<std::int64_t>::min() &&
               after <= std::numeric_limits<std::int64_t>::max();
    }
    void apply(Wide change) { sum_ += change; }

    std::int64_t reported() const {
        if (sum_ > std::numeric_limits<std::int64_t>::max()) return std::numeric_limits<std::int64_t>::max();
        if (sum_ < std::numeric_limits<std::int64_t>::min()) return std::numeric_limits<std::int64_t>::min();
        return static_cast<std::int64_t>(sum_);
    }

    friend bool operator==(const Balance&, const Balance&) = default;

private:
    Wide sum_ = 0;
};

}  // namespace tallywick
